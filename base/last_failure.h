// SPDX-License-Identifier: GPL-3.0-or-later
// What failed last, kept for reports of problems. It holds no names of the user's files.
#pragma once

#include <string>
#include <string_view>

namespace vistrel {

// `text` without what may be the name of a file: between colons and sentences' ends, parts with a
// slash, with an ending, or with an argument of this process become "<file>". The names of
// libraries stay, and so do versions. Any thread.
[[nodiscard]] std::string WithoutNames(std::string_view text);

// Keeps the reason in FailureFile(), at most a thousand characters, in place of the one before.
// Where that fails, nothing is kept. Any thread; nothing throws.
void KeepFailure(std::string_view reason) noexcept;

// With the program's name and the day; empty: nothing has failed yet, or nothing can be read.
[[nodiscard]] std::string LastFailure();

}  // namespace vistrel
