// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/framing.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <vector>

#include "render/picture.h"
#include "tests/support/splat_scenes.h"

namespace vistrel {
namespace {

// Fills the picture of test::SceneCamera up to its edges, but for a rim of half a Gaussian.
GaussianScene Relief() {
    return test::PackedScene(test::ReliefGaussians(80));
}

std::optional<float> ZoomFor(const std::vector<PinholeCamera>& cameras) {
    SplatRenderer renderer(1);
    return FillingZoom(renderer, Relief(), cameras);
}

// The widest empty border of the picture: how many columns from the left or the right edge have
// more than one empty pixel in a hundred.
int EmptyColumns(const PinholeCamera& camera) {
    Picture picture(camera.width, camera.height);
    SplatRenderer(1).Draw(Relief(), camera, picture.Target());
    const auto isEmpty = [&](int column) {
        int empty = 0;
        for (int row = 0; row < camera.height; ++row) {
            const std::size_t start = static_cast<std::size_t>(row) * picture.RowBytes() +
                                      4 * static_cast<std::size_t>(column);
            if (picture.pixels[start + 3] < kCovered) ++empty;
        }
        return 100 * empty > camera.height;
    };
    int left = 0;
    while (left < camera.width && isEmpty(left)) ++left;
    int right = 0;
    while (right < camera.width && isEmpty(camera.width - 1 - right)) ++right;
    return std::max(left, right);
}

TEST(Framing, PhotographsOwnViewStaysNearlyAsItIs) {
    const auto zoom = ZoomFor({test::SceneCamera(800, 600)});
    ASSERT_TRUE(zoom);
    EXPECT_LT(*zoom, 1.03F);
}

TEST(Framing, EyesThatLookPastTheEdgeMoveIn) {
    const PinholeCamera camera = test::SceneCamera(800, 600);
    const std::vector<PinholeCamera> eyes = {EyeOf(camera, -0.1F, 1.6F), EyeOf(camera, 0.1F, 1.6F)};
    EXPECT_GT(EmptyColumns(eyes[0]), 8);
    EXPECT_GT(EmptyColumns(eyes[1]), 8);
    const auto zoom = ZoomFor(eyes);
    ASSERT_TRUE(zoom);
    EXPECT_GT(*zoom, 1.02F);
    EXPECT_LT(*zoom, 1.3F);
    for (const PinholeCamera& eye : eyes) EXPECT_LE(EmptyColumns(Zoomed(eye, *zoom)), 4);
}

TEST(Framing, EveryCameraCounts) {
    const PinholeCamera camera = test::SceneCamera(800, 600);
    const PinholeCamera aside = EyeOf(camera, -0.1F, 1.6F);
    EXPECT_EQ(ZoomFor({camera, aside}), ZoomFor({aside, camera}));
    EXPECT_GE(*ZoomFor({camera, aside}), *ZoomFor({aside}));
}

TEST(Framing, BandsBesideThePhotographAreLeftOut) {
    const PinholeCamera wide = test::SceneCamera(1000, 600);
    const auto zoom = ZoomFor({wide});
    ASSERT_TRUE(zoom);
    EXPECT_NEAR(*zoom, 1.25F, 0.03F);
}

TEST(Framing, SceneThatIsTooSmallHasNoZoom) {
    PinholeCamera camera = test::SceneCamera(800, 600);
    camera.position[2] = -20.0F;
    EXPECT_FALSE(ZoomFor({camera}));
    SplatRenderer renderer(1);
    EXPECT_FALSE(
        FillingZoom(renderer, test::PackedScene({}), std::array{test::SceneCamera(80, 60)}));
}

TEST(Framing, ZoomEnlargesAroundTheMiddle) {
    const PinholeCamera camera = test::SceneCamera(800, 600);
    const PinholeCamera zoomed = Zoomed(camera, 2.0F);
    EXPECT_EQ(zoomed.focalX, 2.0F * camera.focalX);
    EXPECT_EQ(zoomed.centreX, 400.0F);
    PinholeCamera aside = camera;
    aside.centreX = 300.0F;
    EXPECT_EQ(Zoomed(aside, 2.0F).centreX, 200.0F);
}

TEST(Framing, ScaledViewIsTheSameInFewerPixels) {
    const PinholeCamera half = Scaled(test::SceneCamera(800, 600), 0.5F);
    const PinholeCamera other = test::SceneCamera(400, 300);
    EXPECT_EQ(half.width, other.width);
    EXPECT_EQ(half.height, other.height);
    EXPECT_EQ(half.focalX, other.focalX);
    EXPECT_EQ(half.centreY, other.centreY);
    EXPECT_EQ(Scaled(test::SceneCamera(800, 600), 0.0001F).height, 1);
}

}  // namespace
}  // namespace vistrel
