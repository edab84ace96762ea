// SPDX-License-Identifier: GPL-3.0-or-later
// Which Gaussians reach into which tile of the picture.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "render/projection.h"

namespace vistrel {

// The tiles of a picture, row by row from the top.
struct TileGrid {
    int columns = 0;
    int rows = 0;

    // Of a picture of `width` x `height` pixels; tiles at its right and lower edge may stick out.
    [[nodiscard]] static TileGrid Of(int width, int height) {
        return {(width + kTileSide - 1) / kTileSide, (height + kTileSide - 1) / kTileSide};
    }
    [[nodiscard]] std::size_t Count() const {
        return static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows);
    }
};

// How many Gaussians one piece of a scene has at most; a place within it takes 16 bits.
inline constexpr std::size_t kPieceSize = 16384;

// The lists of one piece of a scene, one for each tile. Memory is kept from one Fill to the next.
// One object is for one thread at a time.
class TileLists {
  public:
    // Files the first `count` Gaussians of `piece`, at most kPieceSize, under the tiles that they
    // reach into; the order within a tile is that of the places. A tile that only the corner of the
    // box around a Gaussian touches may be left out. Throws std::bad_alloc.
    void Fill(const ProjectedPiece& piece, std::size_t count, const TileGrid& grid);

    // The places within the piece.
    [[nodiscard]] std::span<const std::uint16_t> Of(std::size_t tile) const {
        return {places_.data() + ends_[tile], ends_[tile + 1] - ends_[tile]};
    }
    [[nodiscard]] std::size_t Bytes() const {
        return places_.capacity() * sizeof(std::uint16_t) +
               ends_.capacity() * sizeof(std::uint32_t);
    }

  private:
    std::vector<std::uint16_t> places_;
    std::vector<std::uint32_t> ends_;  // where each tile's list begins, and where the last one ends
};

}  // namespace vistrel
