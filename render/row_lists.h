// SPDX-License-Identifier: GPL-3.0-or-later
// Which Gaussians reach into which row of tiles.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "render/projection.h"

namespace vistrel {

// How many Gaussians one piece of a scene has at most; a place within it takes 16 bits.
inline constexpr std::size_t kPieceSize = 16384;

// The lists of one piece of a scene, one for each row of tiles. Memory is kept from one Fill to the
// next. One object is for one thread at a time.
class RowLists {
  public:
    // Files the places 0, 1, ... of a piece, at most kPieceSize, under each row of its range; the
    // order within a row is that of the places. No range goes beyond `rows`. Throws std::bad_alloc.
    void Fill(std::span<const TileRange> ranges, std::size_t rows);

    // The places within the piece.
    [[nodiscard]] std::span<const std::uint16_t> Of(std::size_t row) const {
        return {places_.data() + ends_[row], ends_[row + 1] - ends_[row]};
    }

    // What the object keeps.
    [[nodiscard]] std::size_t Bytes() const {
        return places_.capacity() * sizeof(std::uint16_t) +
               ends_.capacity() * sizeof(std::uint32_t);
    }

  private:
    std::vector<std::uint16_t> places_;
    std::vector<std::uint32_t> ends_;  // where each row's list begins, and where the last one ends
};

}  // namespace vistrel
