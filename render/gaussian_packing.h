// SPDX-License-Identifier: GPL-3.0-or-later
// From the values of 3D Gaussian Splatting files to a scene's planes.
#pragma once

#include <array>
#include <cstddef>

#include "render/gaussian_scene.h"

namespace vistrel {

// The values of a Gaussian as files hold them, in this order.
struct RawGaussian {
    std::array<float, 3> position;
    std::array<float, 3> colorDc;   // (sRGB value - 0.5) / 0.28209478, red, green, blue
    float opacityLogit;             // ln(o / (1 - o))
    std::array<float, 3> logScale;  // natural logarithms of the standard deviations
    std::array<float, 4> rotation;  // quaternion w, x, y, z; need not be normalised
};
inline constexpr std::size_t kRawValues = sizeof(RawGaussian) / sizeof(float);

// Behind these, for a degree above 0, the coefficients of the other basis functions: all of red,
// then all of green, then all of blue.
[[nodiscard]] constexpr std::size_t RawValues(int degree) {
    return kRawValues + 3 * (HarmonicsCount(degree) - 1);
}

// Rows of values: that of value v begins at values + v * stride.
struct RawRows {
    const float* values = nullptr;
    std::size_t stride = 0;
};

// Packs `count` Gaussians into the planes from place `first` on, a multiple of 32. Up to 31 places
// behind the last one are filled with Gaussians that are not drawn, so both sides need room for a
// multiple of 32. A Gaussian with a value that is not finite is not drawn, unless it is the
// logarithm of a scale of zero or of an opacity of one. Runs on the best instructions that the
// processor has. Any thread.
void PackGaussians(const RawRows& rows, std::size_t count, const GaussianPlanes& planes,
                   std::size_t first);

}  // namespace vistrel
