// SPDX-License-Identifier: GPL-3.0-or-later
// sRGB's curve, as IEC 61966-2-1 has it.
#pragma once

#include <cmath>
#include <cstdint>

namespace vistrel {

// The sample of a light of 0..1; what is beyond is taken for the nearest.
[[nodiscard]] inline std::uint8_t EncodedSrgb(double light) {
    constexpr double kStraight = 0.0031308;
    if (!(light > 0)) return 0;
    if (light >= 1) return 255;
    const double sample =
        light <= kStraight ? light * 12.92 : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
    return static_cast<std::uint8_t>(std::lround(sample * 255));
}

}  // namespace vistrel
