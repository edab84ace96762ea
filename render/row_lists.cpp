// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/row_lists.h"

namespace vistrel {

void RowLists::Fill(std::span<const TileRange> ranges, std::size_t rows) {
    // First how many each row has, two places further on; then where each list begins, one place
    // further on; filling moves those to the ends, which are the beginnings of the next.
    ends_.assign(rows + 2, 0);
    for (const TileRange range : ranges) {
        for (std::size_t row = range.first; row <= range.last; ++row) ++ends_[row + 2];
    }
    for (std::size_t row = 2; row < ends_.size(); ++row) ends_[row] += ends_[row - 1];
    places_.resize(ends_.back());
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        for (std::size_t row = ranges[i].first; row <= ranges[i].last; ++row) {
            places_[ends_[row + 1]++] = static_cast<std::uint16_t>(i);
        }
    }
}

}  // namespace vistrel
