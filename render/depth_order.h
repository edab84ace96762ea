// SPDX-License-Identifier: GPL-3.0-or-later
// Front to back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "render/projection.h"

namespace vistrel {

// Orders the Gaussians of one row of tiles after the other. One object is for one thread at a time.
class DepthOrder {
  public:
    // Forgets all Gaussians and makes room for `most`. Throws std::bad_alloc.
    void Begin(std::size_t most);

    // Adds those at `first` plus each of `places`. `looks` are only told to the processor's cache.
    void Add(std::size_t first, std::span<const std::uint16_t> places, const SplatLook* looks);

    // The indices by depth, nearest first; where depths are equal, or differ by less than 2^-23 of
    // what lies between the nearest and the farthest, in the order in which they were added. Valid
    // until the next call. Takes time proportional to their number.
    [[nodiscard]] std::span<const std::uint32_t> Sort(const SplatLook* looks);

    // What the object keeps.
    [[nodiscard]] std::size_t Bytes() const {
        return indices_.capacity() * sizeof(std::uint32_t) +
               2 * entries_.capacity() * sizeof(Entry);
    }

  private:
    struct Entry {
        std::uint32_t key;  // the bits of the depth, which have the order of positive floats
        std::uint32_t index;
    };
    void SortFew();
    void SortByDigits(std::uint32_t least, int shift);

    std::size_t size_ = 0;
    std::vector<std::uint32_t> indices_;
    std::vector<Entry> entries_;
    std::vector<Entry> others_;
};

}  // namespace vistrel
