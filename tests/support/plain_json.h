// SPDX-License-Identifier: GPL-3.0-or-later
// Whether a text is JSON, told by a small reader of its own.
#pragma once

#include <string_view>

namespace vistrel::test {

// By the grammar of RFC 8259, to the last byte; the bytes must be UTF-8.
[[nodiscard]] bool IsJson(std::string_view text);

}  // namespace vistrel::test
