// SPDX-License-Identifier: GPL-3.0-or-later
// What a PNG tells about its colours.
#pragma once

#include <cstddef>
#include <span>

#include "photos/decoded_photo.h"

namespace vistrel {

[[nodiscard]] bool IsPng(std::span<const std::byte> file);

// The colours by the chunk that weighs most: cICP, iCCP, sRGB, then gAMA with cHRM; nothing told
// for sRGB. The curve that all of sRGB's files have in gAMA is taken for sRGB's. What is damaged is
// passed over. Any bytes, any thread.
[[nodiscard]] PhotoColours ReadPngColours(std::span<const std::byte> file);

}  // namespace vistrel
