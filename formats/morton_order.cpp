// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/morton_order.h"

#include <algorithm>
#include <cstddef>

#include "formats/place_order.h"

namespace vistrel {
namespace {

constexpr int kCellBits = 21;  // three of them are in 64 bits

// The lowest 21 bits, two zeros between each and the next.
std::uint64_t SpreadBits(std::uint64_t bits) {
    bits = (bits | bits << 32) & 0x001F00000000FFFF;
    bits = (bits | bits << 16) & 0x001F0000FF0000FF;
    bits = (bits | bits << 8) & 0x100F00F00F00F00F;
    bits = (bits | bits << 4) & 0x10C30C30C30C30C3;
    return (bits | bits << 2) & 0x1249249249249249;
}

void AddCells(const float* values, int axis, std::vector<std::uint64_t>& keys) {
    const auto [least, most] = std::minmax_element(values, values + keys.size());
    const auto first = static_cast<double>(*least);
    const double extent = static_cast<double>(*most) - first;
    if (!(extent > 0.0)) return;
    const double cells = static_cast<double>((1U << kCellBits) - 1U) / extent;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const auto cell =
            static_cast<std::uint64_t>((static_cast<double>(values[i]) - first) * cells);
        keys[i] |= SpreadBits(cell) << axis;
    }
}

}  // namespace

std::vector<std::uint32_t> MortonOrder(const RawScene& scene) {
    std::vector<std::uint64_t> keys(scene.Count());
    if (keys.empty()) return {};
    for (int axis = 0; axis < 3; ++axis) {
        AddCells(scene.Row(kPositionRow + static_cast<std::size_t>(axis)), axis, keys);
    }
    return PlacesByKey(keys);
}

}  // namespace vistrel
