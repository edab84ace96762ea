// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/tile_lists.h"

#include <algorithm>
#include <cmath>

namespace vistrel {
namespace {

// Which tiles of a row the ellipse of what is not too faint touches, of those in `columns`.
TileRange EllipseRange(const SplatShape& shape, const SplatLook& look, int row, TileRange columns) {
    const float reach = static_cast<float>(look.blueOpacity >> 16U) * kOpacityUnit +
                        (kFaintestLog + kReachAboveOne);
    const float halfHeight = std::sqrt(reach / look.down);
    const float above = static_cast<float>(row * kTileSide) + 0.5F - shape.y;
    const float top = std::max(above, -halfHeight);
    const float bottom = std::min(above + static_cast<float>(kTileSide - 1), halfHeight);
    if (!(top <= bottom)) return kNoTiles;

    // dy where the whole outline is farthest to the right; to the left it is the opposite.
    const float perDySquared = shape.across * shape.lean * shape.lean + look.down;
    const float side = -shape.lean * std::sqrt(shape.across * reach / (look.down * perDySquared));
    const auto halfWidth = [&](float dy) {
        return std::sqrt(std::max(0.0F, (reach - look.down * dy * dy) / shape.across));
    };
    const float leftmost = std::clamp(-side, top, bottom);
    const float rightmost = std::clamp(side, top, bottom);
    constexpr float kRounding = 1.0F;  // pixels
    const float left = shape.x - shape.lean * leftmost - halfWidth(leftmost) - kRounding;
    const float right = shape.x - shape.lean * rightmost + halfWidth(rightmost) + kRounding;
    // What is not a number, in the most extreme shapes, stands for all columns.
    const auto first = static_cast<float>(columns.first);
    const auto last = static_cast<float>(columns.last);
    const float from = left / static_cast<float>(kTileSide);
    const float to = right / static_cast<float>(kTileSide);
    return {from > first ? static_cast<std::uint16_t>(std::min(from, last)) : columns.first,
            to < last ? static_cast<std::uint16_t>(std::max(to, first)) : columns.last};
}

}  // namespace

void TileLists::Fill(const ProjectedScene& scene, std::span<const std::uint32_t> order, int row,
                     std::size_t columns) {
    lists_.resize(columns);
    for (std::vector<std::uint32_t>& list : lists_) list.clear();
    // The indices jump about in memory.
    constexpr std::size_t kAhead = 24;
    for (std::size_t i = 0; i < order.size(); ++i) {
        __builtin_prefetch(scene.columns + order[std::min(i + kAhead, order.size() - 1)]);
        const std::uint32_t index = order[i];
        TileRange range = scene.columns[index];
        // Worth a look only where the box is several tiles wide.
        if (range.last > range.first + 1) {
            range = EllipseRange(scene.shapes[index], scene.looks[index], row, range);
        }
        for (std::size_t column = range.first; column <= range.last; ++column) {
            lists_[column].push_back(index);
        }
    }
    for (std::vector<std::uint32_t>& list : lists_) {
        list.insert(list.end(), kOrderPadding, list.empty() ? 0 : list.back());
    }
}

std::size_t TileLists::Bytes() const {
    std::size_t sum = 0;
    for (const auto& list : lists_) sum += list.capacity() * sizeof(std::uint32_t);
    return sum;
}

}  // namespace vistrel
