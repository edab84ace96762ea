// SPDX-License-Identifier: GPL-3.0-or-later
// Floating-point numbers of 16 bits (binary16 of IEEE 754).
#pragma once

#include <bit>
#include <cstdint>

namespace vistrel {

// Exact; infinities and NaN stay what they are.
[[nodiscard]] constexpr float FloatOfHalf(std::uint16_t half) {
    constexpr std::uint32_t kExponent = 0x7C00;
    const std::uint32_t sign = (half & 0x8000U) << 16;
    const std::uint32_t rest = half & 0x7FFFU;
    if (rest >= kExponent) {
        return std::bit_cast<float>(sign | 0x7F800000U | (rest - kExponent) << 13);
    }
    // As the bits of a float it is 2^-112 times the number, also where the number is subnormal.
    const float magnitude = std::bit_cast<float>(rest << 13) * 0x1p112F;
    return std::bit_cast<float>(sign | std::bit_cast<std::uint32_t>(magnitude));
}

}  // namespace vistrel
