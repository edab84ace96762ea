// SPDX-License-Identifier: GPL-3.0-or-later
// The small network that comes with the program and guesses depth without having learnt it.
#pragma once

#include <string>

namespace vistrel {

// Whether the file is the relief demo, of whatever name and in whatever folder: its first bytes say
// so. False where it cannot be read.
[[nodiscard]] bool IsReliefDemo(const std::wstring& modelPath);

}  // namespace vistrel
