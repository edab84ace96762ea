// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/space_order.h"

#include <utility>
#include <vector>

namespace vistrel {
namespace {

struct CurvePlace {
    std::uint64_t key = 0;  // how far along the curve
    std::uint32_t place = 0;
};

constexpr std::uint64_t kDigits = 1 << 16;
constexpr unsigned kDigitBits = 16;
constexpr unsigned kKeyBits = 48;

// Moves bit b to bit 3b.
std::uint64_t SpacedOut(std::uint16_t number) {
    std::uint64_t bits = number;
    bits = (bits | (bits << 16U)) & 0x0000ff0000ffU;
    bits = (bits | (bits << 8U)) & 0x00f00f00f00fU;
    bits = (bits | (bits << 4U)) & 0x0c30c30c30c3U;
    bits = (bits | (bits << 2U)) & 0x249249249249U;
    return bits;
}

// Into `to`, by one digit of the key; equal ones keep their order.
void SortByDigit(const AlignedArray<CurvePlace>& from, AlignedArray<CurvePlace>& to,
                 unsigned shift) {
    std::vector<std::size_t> starts(kDigits + 1);
    const auto digit = [shift](const CurvePlace& item) {
        return static_cast<std::size_t>((item.key >> shift) % kDigits);
    };
    for (std::size_t i = 0; i < from.size(); ++i) ++starts[digit(from[i]) + 1];
    for (std::size_t i = 1; i < kDigits; ++i) starts[i] += starts[i - 1];
    for (std::size_t i = 0; i < from.size(); ++i) to[starts[digit(from[i])]++] = from[i];
}

}  // namespace

AlignedArray<std::uint32_t> SpaceOrder(
    const std::array<std::span<const std::uint16_t>, 3>& coordinates) {
    const std::size_t count = coordinates[0].size();
    AlignedArray<CurvePlace> places(count);
    for (std::size_t i = 0; i < count; ++i) {
        places[i] = {.key = SpacedOut(coordinates[0][i]) | (SpacedOut(coordinates[1][i]) << 1U) |
                            (SpacedOut(coordinates[2][i]) << 2U),
                     .place = static_cast<std::uint32_t>(i)};
    }
    AlignedArray<CurvePlace> other(count);
    for (unsigned shift = 0; shift < kKeyBits; shift += kDigitBits) {
        SortByDigit(places, other, shift);
        std::swap(places, other);
    }
    AlignedArray<std::uint32_t> order(count);
    for (std::size_t i = 0; i < count; ++i) order[i] = places[i].place;
    return order;
}

}  // namespace vistrel
