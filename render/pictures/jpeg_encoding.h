// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures as JPEG files.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "render/picture.h"

namespace vistrel {

inline constexpr int kBestQuality = 100;
inline constexpr int kUsualQuality = 92;

// A marker segment APPn: n of 0 to 15, and at most 65533 bytes.
struct JpegSegment {
    int number = 0;
    std::vector<std::byte> bytes;
};

// The colours have the resolution of the brightness: halving it would mix the eyes in anaglyphs and
// interlaced rows. `quality` is 1 to kBestQuality; the segments follow the first one, JFIF's, in
// their order. Throws std::runtime_error that tells what is wrong, such as more than 65500 pixels
// on a side, and std::bad_alloc. Any thread.
[[nodiscard]] std::vector<std::byte> EncodeJpeg(const Picture& picture, int quality = kUsualQuality,
                                                std::span<const JpegSegment> segments = {});

}  // namespace vistrel
