// SPDX-License-Identifier: GPL-3.0-or-later
// Small valid pictures that tell their colours.
#pragma once

#include <string>
#include <vector>

namespace vistrel::fuzz {

// JPEGs and PNGs with profiles, codes and numbers, and one of each kind of file without; the same
// on every call.
[[nodiscard]] const std::vector<std::string>& ColourSeeds();

}  // namespace vistrel::fuzz
