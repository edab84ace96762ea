// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <vector>

#include "render/splat_renderer.h"
#include "tests/render/canvas.h"
#include "tests/support/simd_targets.h"
#include "tests/support/splat_scene_bytes.h"
#include "tests/support/splat_scenes.h"

namespace vistrel {
namespace {

using test::PackedScene;
using test::WhiteVertex;

PinholeCamera CentredCamera() {
    PinholeCamera camera;
    camera.focalX = camera.focalY = 100.0F;
    camera.centreX = camera.centreY = 50.0F;
    camera.width = camera.height = 100;
    return camera;
}

std::vector<float> DepthsOf(const std::vector<RawGaussian>& gaussians, const PinholeCamera& camera,
                            int threads = 1) {
    std::vector<float> depths(static_cast<std::size_t>(camera.width * camera.height), -1.0F);
    SplatRenderer(threads).DrawInverseDepths(PackedScene(gaussians), camera, depths);
    return depths;
}

float At(const std::vector<float>& depths, std::size_t column, std::size_t row) {
    return depths[100 * row + column];
}

TEST(InverseDepths, NothingIsZero) {
    EXPECT_EQ(DepthsOf({}, CentredCamera()), std::vector<float>(10000, 0.0F));
}

TEST(InverseDepths, OneGaussianHasItsOwnWhereverItCovers) {
    const auto depths = DepthsOf({WhiteVertex({0.01F, 0.01F, 2.5F}, 0.2F, 0.9F)}, CentredCamera());
    EXPECT_NEAR(At(depths, 50, 50), 0.4F, 1e-6F);
    EXPECT_NEAR(At(depths, 60, 57), 0.4F, 1e-6F);
    EXPECT_EQ(At(depths, 5, 5), 0.0F);
}

TEST(InverseDepths, BothEndsOfWhatShows) {
    for (const float depth : {0.0101F, 30000.0F}) {
        const auto depths = DepthsOf({WhiteVertex({0, 0, depth}, depth, 0.9F)}, CentredCamera());
        EXPECT_NEAR(At(depths, 50, 50) * depth, 1.0F, 2e-3F) << depth;
    }
}

TEST(InverseDepths, FartherOnesCountByWhatIsSeenOfThem) {
    const auto depths = DepthsOf(
        {WhiteVertex({0, 0, 5}, 2.0F, 0.5F), WhiteVertex({0, 0, 2}, 1.0F, 0.75F)}, CentredCamera());
    constexpr float kFarther = 0.25F * 0.5F;
    const float expected = (0.75F * 0.5F + kFarther * 0.2F) / (0.75F + kFarther);
    EXPECT_NEAR(At(depths, 50, 50), expected, 1e-4F);
}

TEST(InverseDepths, AgreeWithAPictureInShadesOfThem) {
    std::vector<RawGaussian> gaussians = test::OverlappingGaussians(60);
    const PinholeCamera camera = test::SceneCamera(133, 101);
    const std::vector<float> depths = DepthsOf(gaussians, camera);
    const float nearest = *std::ranges::max_element(depths);
    for (RawGaussian& gaussian : gaussians) {
        const float shade = 1.0F / gaussian.position[2] / nearest;
        gaussian.colorDc[0] = (shade - 0.5F) / 0.28209478F;
    }
    const test::Canvas picture = test::Drawn(PackedScene(gaussians), camera);
    int compared = 0;
    for (int row = 0; row < camera.height; ++row) {
        for (int column = 0; column < camera.width; ++column) {
            const std::array<int, 4> pixel = picture.At(column, row);
            if (pixel[3] < 128) continue;
            const float shade =
                static_cast<float>(pixel[0]) / static_cast<float>(pixel[3]) * nearest;
            const float depth = depths[static_cast<std::size_t>(camera.width * row + column)];
            ASSERT_NEAR(depth, shade, 0.01F * nearest) << column << ", " << row;
            ++compared;
        }
    }
    EXPECT_GT(compared, 5000);
}

TEST(InverseDepths, DoNotDependOnTheProcessor) {
    const auto gaussians = test::OverlappingGaussians(60);
    const PinholeCamera camera = test::SceneCamera(133, 101);
    const std::vector<float> depths = DepthsOf(gaussians, camera);
    for (const std::int64_t target : test::SimdTargets()) {
        const test::ForcedSimdTarget forced(target);
        const std::vector<float> others = DepthsOf(gaussians, camera);
        for (std::size_t i = 0; i < depths.size(); ++i) {
            ASSERT_NEAR(others[i], depths[i], 1e-3F) << test::SimdTargetName(target) << ' ' << i;
        }
    }
}

TEST(InverseDepths, DoNotDependOnTheNumberOfThreads) {
    const auto gaussians = test::OverlappingGaussians(60);
    const PinholeCamera camera = test::SceneCamera(200, 150);
    EXPECT_EQ(DepthsOf(gaussians, camera, 3), DepthsOf(gaussians, camera, 1));
}

TEST(InverseDepths, PicturesAreTheSameBeforeAndAfter) {
    const GaussianScene scene = PackedScene(test::ReliefGaussians(40));
    const PinholeCamera camera = CentredCamera();
    SplatRenderer renderer(2);
    test::Canvas before(100, 100);
    test::Canvas after(100, 100);
    std::vector<float> depths(10000);
    renderer.Draw(scene, camera, before.Target());
    renderer.DrawInverseDepths(scene, camera, depths);
    renderer.Draw(scene, camera, after.Target());
    EXPECT_EQ(before.Bytes(), after.Bytes());
}

TEST(InverseDepths, EveryPixelNeedsItsPlace) {
    std::vector<float> depths(9999);
    EXPECT_THROW(SplatRenderer(1).DrawInverseDepths(PackedScene({}), CentredCamera(), depths),
                 std::invalid_argument);
}

}  // namespace
}  // namespace vistrel
