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
    // In place of pixels, for splats whose colours are those of InverseDepthAsColor: a float each.
    float* inverseDepths = nullptr;
    std::size_t rowDepths = 0;  // from one row to the next
};

// A depth as red and green, the upper and the lower half of 1 / depth in these units: as blending
// adds up both channels alike, their sum is that of the inverse depths.
inline constexpr float kInverseDepthUnit = 1.0F / 33554432.0F;  // 128 / 2^32
[[nodiscard]] inline std::uint32_t InverseDepthAsColor(float depth) {
    constexpr double kMost = 4294967295.0;
    const double units =
        1.0 / (static_cast<double>(depth) * static_cast<double>(kInverseDepthUnit));
    const auto fixed = static_cast<std::uint32_t>(units < kMost ? units : kMost);
    return fixed >> 16 | fixed << 16;  // red is the low half of a SplatLook's colours
}

// Blends front to back over black and writes red, green, blue and the share that is covered, a byte
// each; or what is seen of the inverse depth, divided by what is covered, 0 where that is less than
// 1/255. A pixel that lets less than 1/10000 through takes nothing more, from the next round number
// of Gaussians on. `values` is work space of kTileValues values at a multiple of 64 bytes. Runs on
// the best instructions that the processor has. Any thread.
void DrawTile(const TileSplats& splats, const TileTarget& target, float* values);

}  // namespace vistrel
