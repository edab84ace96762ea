// SPDX-License-Identifier: GPL-3.0-or-later
// How far away things are, as a picture.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "render/pictures/png_encoding.h"

namespace vistrel {

// Grey values: 0 where nothing is seen, else those of 1 / depth, near is bright.
struct DepthMap {
    GreyPicture picture;
    // 1 / depth is offset + step * value, in units of the scene. Of the pixels with a depth the
    // nearest and the farthest thousandth may be beyond that and have the last value.
    double offset = 0.0;
    double step = 0.0;
};

// Of `width` x `height` inverse depths, rows from the top, 0 where nothing is seen, none negative.
// Throws std::bad_alloc. Any thread, like the next.
[[nodiscard]] DepthMap DepthMapOf(std::span<const float> inverseDepths, int width, int height);

// A PNG file with two texts: "Description" in words and "DepthScale" in numbers, as
// "offset=0.05 step=1.5e-05 nearest=1.2 farthest=20". Throws what EncodeGreyPng does.
[[nodiscard]] std::vector<std::byte> EncodeDepthMap(const DepthMap& map);

}  // namespace vistrel
