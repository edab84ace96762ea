// SPDX-License-Identifier: GPL-3.0-or-later
// Small valid pictures, where a search for invalid ones begins.
#pragma once

#include <string>
#include <vector>

namespace vistrel::fuzz {

// One of each kind of file; the same on every call.
[[nodiscard]] const std::vector<std::string>& PictureSeeds();

}  // namespace vistrel::fuzz
