// SPDX-License-Identifier: GPL-3.0-or-later
// Draws the Gaussians of one tile.
#pragma once

#include <cstddef>
#include <cstdint>

#include "render/projection.h"

namespace vistrel {

// Work space for a tile: red, green, blue and the share of the background that shows, of kTileRow
// pixels in each row. Those right of the tile's own pixels are drawn, too, so that no vector needs
// to end before them.
inline constexpr std::size_t kTileRow = 40;
inline constexpr std::size_t kTileValues = 4 * kTileRow * static_cast<std::size_t>(kTileSide);

struct TileSplats {
    const SplatShape* shapes = nullptr;
    const SplatLook* looks = nullptr;
    const std::uint32_t* order = nullptr;  // `count` indices of the two, nearest first, padded
    std::size_t count = 0;
};

// Where the tile goes.
struct TileTarget {
    int left = 0;  // of the tile's first pixel
    int top = 0;
    int width = 0;  // of the part that lies within the picture, 1..kTileSide
    int height = 0;
    std::uint8_t* pixels = nullptr;  // the tile's first pixel
    std::size_t rowBytes = 0;        // from one row of the picture to the next
};

// Blends front to back over black and writes red, green, blue and the share that is covered, a byte
// each. A pixel that lets less than 1/10000 through takes nothing more, from the next round number
// of Gaussians on. `values` is work space of kTileValues values at a multiple of 64 bytes. Runs on
// the best instructions that the processor has. Any thread.
void DrawTile(const TileSplats& splats, const TileTarget& target, float* values);

}  // namespace vistrel
