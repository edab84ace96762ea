// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/seen_depths.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "tests/support/splat_scenes.h"

namespace vistrel {
namespace {

// Opaque and round.
RawGaussian Ball(const std::array<float, 3>& position, float scale) {
    RawGaussian ball{};
    ball.position = position;
    ball.opacityLogit = 6.0F;
    ball.logScale.fill(std::log(scale));
    ball.rotation = {1, 0, 0, 0};
    return ball;
}

// A wall that fills the picture at `depth`, in `side` x `side` pieces.
void AddWall(std::vector<RawGaussian>& scene, float depth, int side) {
    for (int row = 0; row < side; ++row) {
        for (int column = 0; column < side; ++column) {
            const auto at = [&](int i, float half) {
                const float share = (static_cast<float>(i) + 0.5F) / static_cast<float>(side);
                return depth * half * 1.2F * (2.0F * share - 1.0F);
            };
            scene.push_back(Ball({at(column, 0.5F), at(row, 0.375F), depth},
                                 depth * 1.2F / static_cast<float>(side)));
            scene.back().logScale[2] = std::log(0.001F);
        }
    }
}

std::optional<DepthRange> RangeOf(const std::vector<RawGaussian>& gaussians) {
    SplatRenderer renderer(1);
    return SeenDepths(renderer, test::PackedScene(gaussians), test::SceneCamera(400, 300));
}

TEST(SeenDepths, WallHasOneDepth) {
    std::vector<RawGaussian> scene;
    AddWall(scene, 4.0F, 8);
    const auto range = RangeOf(scene);
    ASSERT_TRUE(range);
    EXPECT_NEAR(range->nearest, 4.0F, 1e-3F);
    EXPECT_NEAR(range->farthest, 4.0F, 1e-3F);
}

TEST(SeenDepths, ThingBeforeAWallIsTheNearest) {
    std::vector<RawGaussian> scene;
    AddWall(scene, 10.0F, 8);
    scene.push_back(Ball({0.0F, 0.0F, 2.0F}, 0.25F));
    const auto range = RangeOf(scene);
    ASSERT_TRUE(range);
    EXPECT_NEAR(range->nearest, 2.0F, 0.1F);
    EXPECT_NEAR(range->farthest, 10.0F, 0.2F);
}

TEST(SeenDepths, SpeckBeforeAWallDoesNotCount) {
    std::vector<RawGaussian> scene;
    AddWall(scene, 10.0F, 40);
    scene.push_back(Ball({0.0F, 0.0F, 2.0F}, 0.01F));
    const auto range = RangeOf(scene);
    ASSERT_TRUE(range);
    EXPECT_NEAR(range->nearest, 10.0F, 0.1F);
}

TEST(SeenDepths, WhatAWallHidesDoesNotCount) {
    std::vector<RawGaussian> scene;
    AddWall(scene, 3.0F, 12);
    AddWall(scene, 30.0F, 12);
    const auto range = RangeOf(scene);
    ASSERT_TRUE(range);
    EXPECT_NEAR(range->farthest, 3.0F, 0.2F);
}

TEST(SeenDepths, WhatLiesBehindTheCameraDoesNotCount) {
    std::vector<RawGaussian> scene;
    AddWall(scene, 3.0F, 8);
    for (int i = 0; i < 100; ++i) scene.push_back(Ball({0, 0, -5.0F}, 0.1F));
    const auto range = RangeOf(scene);
    ASSERT_TRUE(range);
    EXPECT_NEAR(range->nearest, 3.0F, 1e-3F);
    EXPECT_NEAR(range->farthest, 3.0F, 1e-3F);
}

TEST(SeenDepths, NothingIsSeenOfAnEmptyScene) {
    EXPECT_FALSE(RangeOf({}));
    EXPECT_FALSE(RangeOf({Ball({0, 0, -2}, 0.1F)}));
}

}  // namespace
}  // namespace vistrel
