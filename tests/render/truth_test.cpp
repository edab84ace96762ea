// SPDX-License-Identifier: GPL-3.0-or-later
// The renderer against the plain one, on every instruction set.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "tests/render/canvas.h"
#include "tests/support/plain_splat_drawing.h"
#include "tests/support/simd_targets.h"
#include "tests/support/splat_scenes.h"

namespace vistrel {
namespace {

using test::Drawn;

constexpr double kLeastPsnr = 55.0;
constexpr int kLargestDifference = 8;

struct Difference {
    double psnr = std::numeric_limits<double>::infinity();
    int largest = 0;
};

int ToByte(float value) {
    return static_cast<int>(std::lround(std::clamp(value, 0.0F, 1.0F) * 255.0F));
}

Difference DifferenceOf(const test::PlainPicture& plain, const test::Canvas& picture) {
    double squares = 0.0;
    Difference difference;
    for (int row = 0; row < plain.height; ++row) {
        for (int column = 0; column < plain.width; ++column) {
            const auto pixel = static_cast<std::size_t>(row * plain.width + column);
            for (std::size_t channel = 0; channel < 3; ++channel) {
                const int off =
                    picture.At(column, row)[channel] - ToByte(plain.rgb[3 * pixel + channel]);
                squares += off * off;
                difference.largest = std::max(difference.largest, std::abs(off));
            }
        }
    }
    const double mean = squares / static_cast<double>(plain.rgb.size());
    if (mean > 0.0) difference.psnr = 10.0 * std::log10(255.0 * 255.0 / mean);
    return difference;
}

struct TruthCase {
    std::string name;
    std::vector<RawGaussian> gaussians;
};

std::vector<TruthCase> Cases() {
    return {{"Relief", test::ReliefGaussians(80)},
            {"Overlapping", test::OverlappingGaussians(50)},
            {"Needles", test::NeedleGaussians(1500)},
            {"Faint", test::FaintGaussians(600)},
            {"Wild", test::WildGaussians(1500)}};
}

class Truth : public testing::TestWithParam<std::int64_t> {
  protected:
    const test::ForcedSimdTarget forced_{GetParam()};
};

TEST_P(Truth, FiveScenesAreLikeThePlainOnes) {
    const PinholeCamera camera = test::SceneCamera(200, 150);
    for (const TruthCase& scene : Cases()) {
        const Difference difference =
            DifferenceOf(test::DrawPlainly(scene.gaussians, camera),
                         Drawn(test::PackedScene(scene.gaussians), camera));
        EXPECT_GE(difference.psnr, kLeastPsnr) << scene.name;
        EXPECT_LE(difference.largest, kLargestDifference) << scene.name;
    }
}

TEST_P(Truth, TurnedCameraOffTheMiddleSeesTheSame) {
    PinholeCamera camera = test::SceneCamera(150, 130);
    test::ShiftSideways(camera, 0.5F, 4.0F);
    camera = EyeOf(camera, 0.1F, 3.0F);
    const std::vector<RawGaussian> gaussians = test::ReliefGaussians(60);
    const Difference difference = DifferenceOf(test::DrawPlainly(gaussians, camera),
                                               Drawn(test::PackedScene(gaussians), camera));
    EXPECT_GE(difference.psnr, kLeastPsnr);
    EXPECT_LE(difference.largest, kLargestDifference);
}

INSTANTIATE_TEST_SUITE_P(EveryTarget, Truth, testing::ValuesIn(test::SimdTargets()),
                         [](const auto& target) { return test::SimdTargetName(target.param); });

}  // namespace
}  // namespace vistrel
