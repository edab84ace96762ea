// SPDX-License-Identifier: GPL-3.0-or-later
// Colours that change with the view, on every instruction set, against the formulas written
// plainly.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "render/gaussian_packing.h"
#include "tests/render/canvas.h"
#include "tests/support/plain_harmonics.h"
#include "tests/support/simd_targets.h"
#include "tests/support/splat_scene_bytes.h"

namespace vistrel {
namespace {

// One Gaussian of `degree` in front of a camera. `coefficients` as in RawGaussian, dc first.
std::array<int, 4> PixelOf(int degree, std::array<float, 3> position,
                           const std::vector<float>& rest) {
    RawGaussian gaussian = test::WhiteVertex(position, 0.5F, 0.9F);
    gaussian.colorDc = {0.1F, -0.2F, 0.3F};
    constexpr std::size_t kBlock = 32;
    std::vector<float> rows(RawValues(degree) * kBlock);
    const auto* const values = reinterpret_cast<const float*>(&gaussian);
    for (std::size_t v = 0; v < kRawValues; ++v) rows[v * kBlock] = values[v];
    for (std::size_t v = 0; v < rest.size(); ++v) rows[(kRawValues + v) * kBlock] = rest[v];
    const GaussianScene scene(1, degree);
    PackGaussians({rows.data(), kBlock}, 1, scene.Planes(), 0);
    PinholeCamera camera;
    camera.focalX = camera.focalY = 10.0F;
    camera.width = camera.height = 1;
    camera.centreX = 0.5F - camera.focalX * position[0] / position[2];
    camera.centreY = 0.5F - camera.focalY * position[1] / position[2];
    return test::Drawn(scene, camera).At(0, 0);
}

class Harmonics : public testing::TestWithParam<std::int64_t> {
  protected:
    const test::ForcedSimdTarget forced_{GetParam()};
};

TEST_P(Harmonics, EveryDegreeIsTheFormula) {
    std::mt19937 random(5);
    std::uniform_real_distribution<float> part(-0.3F, 0.3F);
    for (int degree = 1; degree <= kMostHarmonicsDegree; ++degree) {
        const std::size_t perChannel = HarmonicsCount(degree) - 1;
        std::vector<float> rest(3 * perChannel);
        for (float& value : rest) value = part(random);
        for (const auto& position :
             {std::array<float, 3>{0, 0, 2}, {1.5F, 0.3F, 2}, {-0.7F, -1.9F, 1}}) {
            const double length = std::hypot(position[0], position[1], position[2]);
            const std::array<double, 16> basis = test::PlainHarmonics(
                position[0] / length, position[1] / length, position[2] / length);
            const std::array<int, 4> pixel = PixelOf(degree, position, rest);
            constexpr std::array kDc = {0.1, -0.2, 0.3};
            for (std::size_t channel = 0; channel < 3; ++channel) {
                double color = 0.5 + basis[0] * kDc[channel];
                for (std::size_t i = 0; i < perChannel; ++i) {
                    color += basis[i + 1] * static_cast<double>(rest[channel * perChannel + i]);
                }
                EXPECT_NEAR(pixel[channel], 0.9 * 255.0 * color, 0.8) << degree << " " << channel;
            }
        }
    }
}

TEST_P(Harmonics, CoefficientThatIsNotFiniteHidesTheGaussian) {
    std::vector<float> rest(9, 0.0F);
    rest[4] = std::numeric_limits<float>::infinity();
    EXPECT_EQ(PixelOf(1, {0, 0, 2}, rest), (std::array<int, 4>{0, 0, 0, 0}));
}

TEST_P(Harmonics, LargeCoefficientsAreCut) {
    std::vector<float> rest(9, 0.0F);
    rest[1] = -1e30F;
    rest[4] = 1e30F;
    const std::array<int, 4> pixel = PixelOf(1, {0, 0, 2}, rest);
    EXPECT_EQ(pixel[0], 0);
    EXPECT_EQ(pixel[1], 255);
}

INSTANTIATE_TEST_SUITE_P(EveryTarget, Harmonics, testing::ValuesIn(test::SimdTargets()),
                         [](const auto& target) { return test::SimdTargetName(target.param); });

}  // namespace
}  // namespace vistrel
