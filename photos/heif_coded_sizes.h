// SPDX-License-Identifier: GPL-3.0-or-later
// The sizes that the coded pictures in a HEIF file have whatever its container says of them, and
// the canvases that pictures are put together on: a decoder takes memory for these.
#pragma once

#include <cstddef>
#include <span>

namespace vistrel {

// Throws PhotoError for one of more than kMostPixels. What is damaged or in another
// codec than HEVC and AV1 is passed over.
void CheckCodedSizes(std::span<const std::byte> file);

}  // namespace vistrel
