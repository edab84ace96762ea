// SPDX-License-Identifier: GPL-3.0-or-later
// Small TIFF and camera raw files, where a search for bad ones begins.
#pragma once

#include <string>
#include <vector>

namespace vistrel::fuzz {

// One of each kind of pixels, compression and layout; the same on every call.
[[nodiscard]] const std::vector<std::string>& TiffSeeds();

// As a digital camera writes its sensor's samples, in several ways.
[[nodiscard]] const std::vector<std::string>& RawSeeds();

}  // namespace vistrel::fuzz
