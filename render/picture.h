// SPDX-License-Identifier: GPL-3.0-or-later
// A picture in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "render/splat_renderer.h"

namespace vistrel {

// Rows from the top, four bytes for each pixel: sRGB red, green and blue over black, and how much
// of the background is covered (0..255).
struct Picture {
    Picture() = default;
    // All zero. Throws std::bad_alloc.
    Picture(int columns, int rows)
        : width(columns),
          height(rows),
          pixels(4 * static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows)) {}

    [[nodiscard]] std::size_t RowBytes() const { return 4 * static_cast<std::size_t>(width); }
    [[nodiscard]] PixelTarget Target() { return {pixels.data(), RowBytes()}; }

    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> pixels;
};

}  // namespace vistrel
