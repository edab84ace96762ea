// SPDX-License-Identifier: GPL-3.0-or-later
// Files in which a reader of EXIF finds more than one entry, where a search for damaged ones
// begins.
#pragma once

#include <string>
#include <vector>

namespace vistrel::fuzz {

// Further directories, a thumbnail, texts of other standards; the same on every call.
[[nodiscard]] const std::vector<std::string>& ExifSeeds();

}  // namespace vistrel::fuzz
