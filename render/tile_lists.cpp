// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/tile_lists.h"

#include <algorithm>
#include <cmath>

namespace vistrel {
namespace {

struct Range {
    int first;
    int last;
};

Range RangeOf(std::uint32_t packed) {
    return {static_cast<int>(packed & 0xFFFFU), static_cast<int>(packed >> 16U)};
}

// Where the ellipse of what is not too faint lies within single rows of tiles.
class Ellipse {
  public:
    Ellipse(const SplatShape& shape, const SplatLook& look) : shape_(shape), down_(look.down) {
        const auto opacity = static_cast<float>(look.blueOpacity >> 16U);
        reach_ = opacity * kOpacityUnit + (kFaintestLog + kReachAboveOne);
        const float alongX = shape.across * shape.lean * shape.lean + look.down;
        // Where x is largest, in y.
        side_ = -shape.lean * std::sqrt(shape.across * reach_ / (look.down * alongX));
        half_ = std::sqrt(reach_ / look.down);
    }

    // The tiles of row `row` that it touches, of those in `columns`.
    [[nodiscard]] Range In(int row, Range columns) const {
        const float above = static_cast<float>(row * kTileSide) + 0.5F - shape_.y;
        const float top = std::max(above, -half_);
        const float bottom = std::min(above + static_cast<float>(kTileSide - 1), half_);
        if (!(top <= bottom)) return {1, 0};
        const float left =
            Middle(std::clamp(-side_, top, bottom)) - HalfWidth(std::clamp(-side_, top, bottom));
        const float right =
            Middle(std::clamp(side_, top, bottom)) + HalfWidth(std::clamp(side_, top, bottom));
        return {std::max(columns.first, TileOf(left - 1.0F, columns)),
                std::min(columns.last, TileOf(right + 1.0F, columns))};
    }

  private:
    [[nodiscard]] float Middle(float dy) const { return shape_.x - shape_.lean * dy; }
    [[nodiscard]] float HalfWidth(float dy) const {
        return std::sqrt(std::max(0.0F, (reach_ - down_ * dy * dy) / shape_.across));
    }
    static int TileOf(float x, Range columns) {
        const float tile = x / static_cast<float>(kTileSide);
        return static_cast<int>(std::clamp(std::floor(tile), static_cast<float>(columns.first) - 1,
                                           static_cast<float>(columns.last) + 1));
    }

    SplatShape shape_;
    float down_;
    float reach_;
    float side_;
    float half_;
};

// Calls `visit` with every tile that the Gaussian at place `i` reaches into.
template <typename Visit>
void VisitTiles(const ProjectedPiece& piece, std::size_t i, const TileGrid& grid,
                const Visit& visit) {
    const Range columns = RangeOf(piece.tileColumns[i]);
    if (columns.first > columns.last) return;
    const Range rows = RangeOf(piece.tileRows[i]);
    const bool small = columns.last - columns.first < 2 || rows.first == rows.last;
    if (small) {
        for (int row = rows.first; row <= rows.last; ++row) {
            const int start = row * grid.columns;
            for (int column = columns.first; column <= columns.last; ++column) {
                visit(static_cast<std::size_t>(start + column));
            }
        }
        return;
    }
    const Ellipse ellipse(piece.shapes[i], piece.looks[i]);
    for (int row = rows.first; row <= rows.last; ++row) {
        const Range within = ellipse.In(row, columns);
        const int start = row * grid.columns;
        for (int column = within.first; column <= within.last; ++column) {
            visit(static_cast<std::size_t>(start + column));
        }
    }
}

}  // namespace

void TileLists::Fill(const ProjectedPiece& piece, std::size_t count, const TileGrid& grid) {
    // First how many each tile has, two places further on; then where each list begins, one place
    // further on; filling moves those to the ends, which are the beginnings of the next.
    ends_.assign(grid.Count() + 2, 0);
    for (std::size_t i = 0; i < count; ++i) {
        VisitTiles(piece, i, grid, [this](std::size_t tile) { ++ends_[tile + 2]; });
    }
    for (std::size_t tile = 2; tile < ends_.size(); ++tile) ends_[tile] += ends_[tile - 1];
    places_.resize(ends_.back());
    for (std::size_t i = 0; i < count; ++i) {
        VisitTiles(piece, i, grid, [this, i](std::size_t tile) {
            places_[ends_[tile + 1]++] = static_cast<std::uint16_t>(i);
        });
    }
}

}  // namespace vistrel
