// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/gaussian_packing.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "tests/support/simd_targets.h"
#include "tests/support/splat_scene_bytes.h"
#include "tests/support/splat_scenes.h"

namespace vistrel {
namespace {

using test::PackedScene;
using test::WhiteVertex;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

struct Halves {
    int low;
    int high;
};

Halves HalvesAt(const GaussianScene& scene, Plane plane, std::size_t i) {
    const auto word = std::bit_cast<std::uint32_t>(scene.Planes().Of(plane)[i]);
    return {static_cast<int>(word & 0xFFFFU), static_cast<int>(word >> 16U)};
}

int OpacityAt(const GaussianScene& scene, std::size_t i) {
    return HalvesAt(scene, Plane::BlueOpacity, i).high;
}

class GaussianPacking : public testing::TestWithParam<std::int64_t> {
  protected:
    const test::ForcedSimdTarget forced_{GetParam()};
    RawGaussian gaussian_ = WhiteVertex({1, -2, 3}, 0.5F, 0.25F);
};

TEST_P(GaussianPacking, PositionIsKeptToTheBit) {
    const GaussianScene scene = PackedScene(std::vector{gaussian_});
    EXPECT_EQ(scene.Planes().Of(Plane::X)[0], 1.0F);
    EXPECT_EQ(scene.Planes().Of(Plane::Y)[0], -2.0F);
    EXPECT_EQ(scene.Planes().Of(Plane::Z)[0], 3.0F);
}

TEST_P(GaussianPacking, ScalesBecomeLinear) {
    gaussian_.logScale = {-9.2F, 0.0F, 2.5F};
    const GaussianScene scene = PackedScene(std::vector{gaussian_});
    EXPECT_NEAR(scene.Planes().Of(Plane::ScaleX)[0] / std::exp(-9.2F), 1.0F, 3e-6F);
    EXPECT_NEAR(scene.Planes().Of(Plane::ScaleY)[0], 1.0F, 3e-7F);
    EXPECT_NEAR(scene.Planes().Of(Plane::ScaleZ)[0] / std::exp(2.5F), 1.0F, 3e-6F);
}

TEST_P(GaussianPacking, QuaternionBecomesAUnitInSixteenBits) {
    gaussian_.rotation = {2.0F, -2.0F, 0.0F, 1.0F};
    const GaussianScene scene = PackedScene(std::vector{gaussian_});
    const Halves wx = HalvesAt(scene, Plane::RotationWX, 0);
    const Halves yz = HalvesAt(scene, Plane::RotationYZ, 0);
    EXPECT_NEAR(wx.low, 32767 * 2 / 3, 1);
    EXPECT_NEAR(wx.high, 65536 - 32767 * 2 / 3, 1);
    EXPECT_EQ(yz.low, 0);
    EXPECT_NEAR(yz.high, 32767 / 3, 1);
}

TEST_P(GaussianPacking, QuaternionOfNoLengthTurnsNothing) {
    gaussian_.rotation = {0, 0, 0, 0};
    const GaussianScene scene = PackedScene(std::vector{gaussian_});
    EXPECT_EQ(std::bit_cast<std::uint32_t>(scene.Planes().Of(Plane::RotationWX)[0]), 0U);
    EXPECT_GT(OpacityAt(scene, 0), 0);
}

TEST_P(GaussianPacking, OpacityIsALogarithm) {
    for (const float opacity : {0.005F, 0.1F, 0.5F, 0.97F, 0.9999F}) {
        gaussian_.opacityLogit = std::log(opacity / (1.0F - opacity));
        const GaussianScene scene = PackedScene(std::vector{gaussian_});
        const float log = static_cast<float>(OpacityAt(scene, 0)) * kOpacityUnit + kFaintestLog;
        EXPECT_NEAR(std::exp2(log) / opacity, 1.0F, 6e-5F) << opacity;
    }
}

TEST_P(GaussianPacking, EndlessLogitIsOpaque) {
    gaussian_.opacityLogit = kInfinity;
    EXPECT_EQ(OpacityAt(PackedScene(std::vector{gaussian_}), 0), 65535);
}

TEST_P(GaussianPacking, FaintestOnesAreNotDrawn) {
    gaussian_.opacityLogit = -kInfinity;
    EXPECT_EQ(OpacityAt(PackedScene(std::vector{gaussian_}), 0), 0);
}

TEST_P(GaussianPacking, ColoursAreCutToWhatFits) {
    constexpr float kDcToValue = 0.28209478F;
    gaussian_.colorDc = {-10.0F, 0.0F, 100.0F};
    const GaussianScene scene = PackedScene(std::vector{gaussian_});
    EXPECT_EQ(HalvesAt(scene, Plane::RedGreen, 0).low, 0);
    EXPECT_NEAR(HalvesAt(scene, Plane::RedGreen, 0).high, 0.5F / kColorUnit, 1);
    EXPECT_EQ(HalvesAt(scene, Plane::BlueOpacity, 0).low, 65535);
    gaussian_.colorDc[0] = 1.5F / kDcToValue;
    EXPECT_NEAR(HalvesAt(PackedScene(std::vector{gaussian_}), Plane::RedGreen, 0).low,
                2.0F / kColorUnit, 1);
}

TEST_P(GaussianPacking, AnyValueThatIsNotFiniteMakesOneThatIsNotDrawn) {
    for (std::size_t value = 0; value < kRawValues; ++value) {
        if (value == 6) continue;  // the opacity
        for (const float odd : {kNan, kInfinity}) {
            RawGaussian gaussian = gaussian_;
            reinterpret_cast<float*>(&gaussian)[value] = odd;
            EXPECT_EQ(OpacityAt(PackedScene(std::vector{gaussian}), 0), 0) << value;
        }
    }
}

TEST_P(GaussianPacking, ScaleOfNothingIsFlat) {
    gaussian_.logScale[1] = -kInfinity;
    const GaussianScene scene = PackedScene(std::vector{gaussian_});
    EXPECT_EQ(scene.Planes().Of(Plane::ScaleY)[0], 0.0F);
    EXPECT_GT(OpacityAt(scene, 0), 0);
}

TEST_P(GaussianPacking, PlacesBehindTheLastOneAreNotDrawn) {
    const GaussianScene scene = PackedScene(std::vector(33, gaussian_));
    ASSERT_EQ(scene.Planes().stride, 64U);
    EXPECT_GT(OpacityAt(scene, 32), 0);
    for (std::size_t i = 33; i < 64; ++i) EXPECT_EQ(OpacityAt(scene, i), 0);
}

INSTANTIATE_TEST_SUITE_P(EveryTarget, GaussianPacking, testing::ValuesIn(test::SimdTargets()),
                         [](const auto& target) { return test::SimdTargetName(target.param); });

}  // namespace
}  // namespace vistrel
