// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/splat_style.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "render/splat_renderer.h"
#include "tests/render/canvas.h"
#include "tests/support/simd_targets.h"
#include "tests/support/splat_scene_bytes.h"
#include "tests/support/splat_scenes.h"

namespace vistrel {
namespace {

using test::Canvas;
using test::PackedScene;
using test::WhiteVertex;

constexpr float kBlackDc = -0.5F / 0.28209478F;
constexpr float kFilter = 0.3F;

// The middle of the picture is that of pixel 50, 50.
PinholeCamera StyledCamera() {
    PinholeCamera camera;
    camera.focalX = camera.focalY = 100.0F;
    camera.centreX = camera.centreY = 50.5F;
    camera.width = camera.height = 101;
    return camera;
}

class SplatStyles : public testing::TestWithParam<std::int64_t> {
  protected:
    Canvas Drawn(const GaussianScene& scene) const {
        const PinholeCamera camera = StyledCamera();
        Canvas picture(camera.width, camera.height);
        SplatRenderer(1).Draw(scene, camera, picture.Target(), style_);
        return picture;
    }
    Canvas Drawn(const std::vector<RawGaussian>& gaussians) const {
        return Drawn(PackedScene(gaussians));
    }

    const test::ForcedSimdTarget forced_{GetParam()};
    SplatStyle style_;
};

TEST_P(SplatStyles, NearerThanTheNearestDoesNotShow) {
    const std::vector gaussians = {WhiteVertex({0, 0, 0.09F}, 0.001F, 0.9F)};
    EXPECT_GT(Drawn(gaussians).At(50, 50)[0], 200);
    style_.nearest = 0.1F;
    EXPECT_EQ(Drawn(gaussians).At(50, 50)[0], 0);
}

// Standard deviations of 0.1 and 0.2 pixels.
TEST_P(SplatStyles, AreaOfGaussiansBelowAPixelIsKept) {
    RawGaussian gaussian = WhiteVertex({0, 0, 10}, 0.01F, 0.8F);
    gaussian.logScale[1] = std::log(0.02F);
    EXPECT_NEAR(Drawn({gaussian}).At(50, 50)[0], 0.8 * 255, 1);
    style_.keepsArea = true;
    const double shrunk = std::sqrt(0.01 * 0.04 / ((0.01 + kFilter) * (0.04 + kFilter)));
    EXPECT_NEAR(Drawn({gaussian}).At(50, 50)[0], 0.8 * shrunk * 255, 1);
}

TEST_P(SplatStyles, LargeGaussiansKeepTheirOpacityWithTheirArea) {
    style_.keepsArea = true;
    EXPECT_NEAR(Drawn({WhiteVertex({0, 0, 1}, 0.2F, 0.8F)}).At(50, 50)[0], 0.8 * 255, 1);
}

TEST_P(SplatStyles, GaussianWithoutAreaDoesNotShowWhereAreaIsKept) {
    RawGaussian gaussian = WhiteVertex({0, 0, 1}, 0.2F, 0.8F);
    gaussian.logScale[0] = gaussian.logScale[1] = -100.0F;
    EXPECT_GT(Drawn({gaussian}).At(50, 50)[0], 0);
    style_.keepsArea = true;
    EXPECT_EQ(Drawn({gaussian}).At(50, 50)[0], 0);
}

TEST_P(SplatStyles, EnlargementWidens) {
    style_.enlargement = 2.0F;
    const Canvas picture = Drawn({WhiteVertex({0, 0, 1}, 0.1F, 0.8F)});
    for (const int x : {50, 58, 70, 85}) {
        const double square = (x - 50) * (x - 50);
        const double covered = 0.8 * std::exp(-0.5 * square / (20.0 * 20.0 + kFilter));
        EXPECT_NEAR(picture.At(x, 50)[0], 255.0 * covered, 1.0) << x;
    }
}

// One straight ahead, and one aside that is less deep and yet farther.
TEST_P(SplatStyles, OrderGoesByDepthOrByDistance) {
    RawGaussian red = WhiteVertex({0, 0, 2.1F}, 0.5F, 0.6F);
    red.colorDc[1] = red.colorDc[2] = kBlackDc;
    RawGaussian green = WhiteVertex({0.8F, 0, 2}, 0.5F, 0.5F);
    green.colorDc[0] = green.colorDc[2] = kBlackDc;
    const std::array<int, 4> byDepth = Drawn({red, green}).At(70, 50);
    style_.byDistance = true;
    const std::array<int, 4> byDistance = Drawn({red, green}).At(70, 50);
    EXPECT_GT(byDistance[0], byDepth[0] + 20);
    EXPECT_LT(byDistance[1], byDepth[1] - 20);
    EXPECT_EQ(byDistance[3], byDepth[3]);
}

// A scene of one Gaussian whose red is 0.5 and becomes 2 by a harmonic.
TEST_P(SplatStyles, BrightestLimitsWhatHarmonicsAddUpTo) {
    const GaussianScene scene(1, 1);
    std::vector<float> raw(RawValues(1));
    const RawGaussian gaussian = WhiteVertex({0, 0, 1}, 0.2F, 0.5F);
    std::ranges::copy(gaussian.position, raw.begin());
    raw[6] = gaussian.opacityLogit;
    std::ranges::copy(gaussian.logScale, raw.begin() + 7);
    raw[10] = 1.0F;
    raw[kRawValues + 1] = 1.5F / 0.48860251F;  // goes with the direction's z
    constexpr std::size_t kPadded = 32;
    std::vector<float> rows(raw.size() * kPadded);
    for (std::size_t i = 0; i < raw.size(); ++i) rows[i * kPadded] = raw[i];
    PackGaussians({rows.data(), kPadded}, 1, scene.Planes(), 0);
    EXPECT_NEAR(Drawn(scene).At(50, 50)[0], 255, 1);
    style_.brightest = 1.0F;
    EXPECT_NEAR(Drawn(scene).At(50, 50)[0], 0.5 * 255, 1);
}

// A row of kShareBlock Gaussians of one pixel each on the upper half, and as many on the lower one.
std::vector<RawGaussian> TwoBlocks() {
    std::vector<RawGaussian> gaussians;
    for (std::size_t i = 0; i < 2 * kShareBlock; ++i) {
        const auto x = static_cast<float>(i % 32) - 16.0F;
        const auto y = static_cast<float>(i / 32) - 32.0F;
        gaussians.push_back(WhiteVertex({x, y, 100}, 0.01F, 0.9F));
    }
    return gaussians;
}

TEST_P(SplatStyles, ShareIsTheBeginningOfEachBlock) {
    const GaussianScene scene = PackedScene(TwoBlocks());
    style_.share = 0.25F;
    const Canvas picture = Drawn(scene);
    const auto shows = [&](std::size_t i) {
        return picture.At(static_cast<int>(i % 32) + 34, static_cast<int>(i / 32) + 18)[0] > 200;
    };
    for (std::size_t i = 0; i < 2 * kShareBlock; ++i) {
        const std::size_t inBlock = i % kShareBlock;
        if (inBlock < kShareBlock / 4) {
            EXPECT_TRUE(shows(i)) << i;
        } else if (inBlock >= kShareBlock / 4 + 64) {
            EXPECT_FALSE(shows(i)) << i;
        }
    }
}

TEST_P(SplatStyles, ShareOfAllIsTheWholePicture) {
    const GaussianScene scene = PackedScene(test::OverlappingGaussians(60));
    const Canvas whole = Drawn(scene);
    for (const float share : {0.9999F, 1.0F, 7.0F}) {
        style_.share = share;
        EXPECT_EQ(Drawn(scene).Bytes(), whole.Bytes()) << share;
    }
}

TEST_P(SplatStyles, SmallestShareIsNotEmpty) {
    const GaussianScene scene = PackedScene(TwoBlocks());
    for (const float share : {0.0F, -1.0F, 1e-6F}) {
        style_.share = share;
        const Canvas picture = Drawn(scene);
        EXPECT_TRUE(std::ranges::any_of(picture.Bytes(), [](int value) { return value > 0; }));
    }
}

TEST_P(SplatStyles, BothEyesShowTheSameShare) {
    const GaussianScene scene = PackedScene(test::OverlappingGaussians(60));
    const PinholeCamera camera = test::SceneCamera(200, 150);
    const PinholeCamera right = EyeOf(camera, 0.05F, 3.0F);
    style_.share = 0.3F;
    style_.enlargement = 1.8F;
    Canvas alone(camera.width, camera.height);
    Canvas left(camera.width, camera.height);
    Canvas other(camera.width, camera.height);
    SplatRenderer renderer(2);
    renderer.Draw(scene, right, alone.Target(), style_);
    renderer.DrawPair(scene, camera, left.Target(), right, other.Target(), style_);
    EXPECT_EQ(other.Bytes(), alone.Bytes());
}

INSTANTIATE_TEST_SUITE_P(EveryTarget, SplatStyles, testing::ValuesIn(test::SimdTargets()),
                         [](const auto& target) { return test::SimdTargetName(target.param); });

}  // namespace
}  // namespace vistrel
