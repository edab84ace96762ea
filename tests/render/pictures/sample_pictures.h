// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures whose pixels are known.
#pragma once

#include <cstddef>
#include <cstdint>

#include "render/picture.h"

namespace vistrel::test {

// Red grows to the right, green downwards, and blue is the same everywhere. What is covered is not
// in any file.
inline Picture Gradient(int width, int height, std::uint8_t blue) {
    Picture picture(width, height);
    std::size_t at = 0;
    for (int row = 0; row < height; ++row) {
        for (int column = 0; column < width; ++column) {
            picture.pixels[at++] = static_cast<std::uint8_t>(255 * column / width);
            picture.pixels[at++] = static_cast<std::uint8_t>(255 * row / height);
            picture.pixels[at++] = blue;
            picture.pixels[at++] = 99;
        }
    }
    return picture;
}

}  // namespace vistrel::test
