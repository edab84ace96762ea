// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/key_histogram.h"

#include <numeric>

namespace vistrel {

std::size_t KeyHistogram::Total() const {
    return std::accumulate(counts_.begin(), counts_.end(), std::size_t{0});
}

KeyHistogram::Place KeyHistogram::FromLargest(std::size_t rank) const {
    std::size_t half = counts_.size() - 1;
    while (rank >= counts_[half]) {
        rank -= counts_[half];
        --half;
    }
    return {static_cast<std::uint16_t>(half), rank};
}

}  // namespace vistrel
