// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/space_order.h"

#include <algorithm>

#include "formats/place_order.h"

namespace vistrel {
namespace {

constexpr int kStepBits = 21;  // three of them are in 64 bits

// Moves bit b of the lowest 21 to bit 3b.
std::uint64_t SpacedOut(std::uint64_t bits) {
    bits = (bits | bits << 32) & 0x001F00000000FFFF;
    bits = (bits | bits << 16) & 0x001F0000FF0000FF;
    bits = (bits | bits << 8) & 0x100F00F00F00F00F;
    bits = (bits | bits << 4) & 0x10C30C30C30C30C3;
    return (bits | bits << 2) & 0x1249249249249249;
}

void AddAxis(const float* values, int axis, std::vector<std::uint64_t>& keys) {
    const auto [least, most] = std::minmax_element(values, values + keys.size());
    const auto first = static_cast<double>(*least);
    const double extent = static_cast<double>(*most) - first;
    if (!(extent > 0.0)) return;
    const double steps = static_cast<double>((1U << kStepBits) - 1U) / extent;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const double step = (static_cast<double>(values[i]) - first) * steps;
        keys[i] |= SpacedOut(static_cast<std::uint64_t>(step)) << axis;
    }
}

}  // namespace

std::vector<std::uint32_t> SpaceOrder(
    const std::array<std::span<const std::uint16_t>, 3>& coordinates) {
    const auto& [x, y, z] = coordinates;
    std::vector<std::uint64_t> keys(x.size());
    for (std::size_t i = 0; i < keys.size(); ++i) {
        keys[i] = SpacedOut(x[i]) | SpacedOut(y[i]) << 1 | SpacedOut(z[i]) << 2;
    }
    return PlacesByKey(keys);
}

std::vector<std::uint32_t> SpaceOrder(const RawScene& scene) {
    std::vector<std::uint64_t> keys(scene.Count());
    if (keys.empty()) return {};
    for (int axis = 0; axis < 3; ++axis) {
        AddAxis(scene.Row(kPositionRow + static_cast<std::size_t>(axis)), axis, keys);
    }
    return PlacesByKey(keys);
}

}  // namespace vistrel
