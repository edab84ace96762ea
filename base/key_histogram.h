// SPDX-License-Identifier: GPL-3.0-or-later
// Ranks among millions of numbers without sorting or storing them.
//
// A number is looked at twice. Numbers become 32-bit keys that order like them; the first look
// counts the upper halves of all keys and so finds the upper half of the key at a given rank, the
// second counts the lower halves of the keys that share it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vistrel {

// How often each 16-bit half key occurred; 256 KiB. One object, one thread.
class KeyHistogram {
  public:
    KeyHistogram() : counts_(std::size_t{1} << 16) {}

    void Add(std::uint16_t half) { ++counts_[half]; }

    [[nodiscard]] std::size_t Total() const;

    struct Place {
        std::uint16_t half = 0;
        std::size_t rank = 0;  // among the keys with this half
    };

    // Where the key with `rank` others before it lies when the largest comes first. `rank` is below
    // Total().
    [[nodiscard]] Place FromLargest(std::size_t rank) const;

  private:
    std::vector<std::uint32_t> counts_;
};

[[nodiscard]] constexpr std::uint16_t UpperHalf(std::uint32_t key) {
    return static_cast<std::uint16_t>(key >> 16);
}

[[nodiscard]] constexpr std::uint16_t LowerHalf(std::uint32_t key) {
    return static_cast<std::uint16_t>(key & 0xFFFF);
}

[[nodiscard]] constexpr std::uint32_t JoinHalves(std::uint16_t upper, std::uint16_t lower) {
    return std::uint32_t{upper} << 16 | lower;
}

}  // namespace vistrel
