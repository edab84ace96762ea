// SPDX-License-Identifier: GPL-3.0-or-later
// Values of Gaussians on their way between a RawScene and files that hold few bits for each.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "formats/raw_scene.h"

namespace vistrel {

// The value of the harmonics' first basis function: an sRGB value is 0.5 + kFirstHarmonic * dc.
inline constexpr float kFirstHarmonic = 0.28209479F;

[[nodiscard]] constexpr float SrgbOfDc(float dc) {
    return 0.5F + kFirstHarmonic * dc;
}
[[nodiscard]] constexpr float DcOfSrgb(float value) {
    return (value - 0.5F) / kFirstHarmonic;
}

// Between logits, infinite ones too, and opacities in 0..1.
[[nodiscard]] float OpacityOfLogit(float logit);
[[nodiscard]] float LogitOfOpacity(float opacity);

// The nearest of 2^bits numbers that are spread evenly from 0 to 1; what lies outside goes to the
// nearest end, NaN to 0. `bits` is 1 to 16.
[[nodiscard]] constexpr std::uint32_t Quantised(double value, int bits) {
    const auto largest = static_cast<double>((1U << bits) - 1U);
    const double scaled = value * largest + 0.5;
    if (!(scaled > 0.0)) return 0;
    return static_cast<std::uint32_t>(scaled < largest ? scaled : largest);
}

// The number in 0..1 that the lowest `bits` bits stand for.
[[nodiscard]] constexpr float Unquantised(std::uint32_t value, int bits) {
    const std::uint32_t largest = (1U << bits) - 1U;
    return static_cast<float>(value & largest) / static_cast<float>(largest);
}

// The rotation w, x, y, z of a Gaussian with length 1.
[[nodiscard]] std::array<double, 4> UnitRotation(const RawScene& scene, std::size_t place);

// Puts the values into rows that lie `stride` apart.
inline void SetGaussian(const RawGaussian& gaussian, float* rows, std::size_t stride) {
    const auto set = [rows, stride](std::size_t row, const auto& values) {
        for (std::size_t k = 0; k < values.size(); ++k) rows[(row + k) * stride] = values[k];
    };
    set(kPositionRow, gaussian.position);
    set(kColorRow, gaussian.colorDc);
    rows[kOpacityRow * stride] = gaussian.opacityLogit;
    set(kScaleRow, gaussian.logScale);
    set(kRotationRow, gaussian.rotation);
}

}  // namespace vistrel
