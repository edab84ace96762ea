// SPDX-License-Identifier: GPL-3.0-or-later
// From the Gaussians of a row of tiles to those of each tile.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "render/projection.h"

namespace vistrel {

// How many places behind the last index hold one of the indices once more, for vectors.
inline constexpr std::size_t kOrderPadding = 16;

// The Gaussians of a scene on a picture.
struct ProjectedScene {
    const SplatShape* shapes = nullptr;
    const SplatLook* looks = nullptr;
    const TileRange* columns = nullptr;
};

// The lists of the tiles of one row. Memory is kept from one Fill to the next. One object is for
// one thread at a time.
class TileLists {
  public:
    // Files the indices in `order`, which reach into row `row`, under the tiles of that row; their
    // order stays. A tile that only the corner of the box around a Gaussian touches may be left
    // out. Throws std::bad_alloc.
    void Fill(const ProjectedScene& scene, std::span<const std::uint32_t> order, int row,
              std::size_t columns);

    // The indices under a tile; padded.
    [[nodiscard]] std::span<const std::uint32_t> Of(std::size_t column) const {
        const std::vector<std::uint32_t>& list = lists_[column];
        return {list.data(), list.size() - kOrderPadding};
    }

    // What the object keeps.
    [[nodiscard]] std::size_t Bytes() const;

  private:
    std::vector<std::vector<std::uint32_t>> lists_;  // one for each column
};

}  // namespace vistrel
