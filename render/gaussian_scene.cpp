// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/gaussian_scene.h"

#include "base/failures.h"

namespace vistrel {

GaussianScene::GaussianScene(std::size_t count, int degree) : count_(count) {
    constexpr std::size_t kLineOfHalves = 32;
    if (count > kMostGaussians) FailForLength("the scene has too many Gaussians");
    planes_.stride = (count + kLineOfHalves - 1) / kLineOfHalves * kLineOfHalves;
    planes_.degree = degree;
    words_ = AlignedArray<float>(kPlanes * planes_.stride);
    planes_.words = words_.data();
    if (degree == 0) return;
    harmonics_ = AlignedArray<std::uint16_t>(3 * HarmonicsCount(degree) * planes_.stride);
    planes_.harmonics = harmonics_.data();
}

}  // namespace vistrel
