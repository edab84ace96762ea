// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/quilt.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <stdexcept>
#include <vector>

#include "tests/support/splat_scenes.h"

namespace vistrel {
namespace {

constexpr QuiltShape kQuiltShape = {3, 2};
constexpr double kCone = 40.0;
constexpr double kQuiltDepth = 4.0;

PinholeCamera ViewCamera() {
    return test::SceneCamera(40, 30);
}

std::vector<PinholeCamera> Cameras() {
    return QuiltCameras(ViewCamera(), kQuiltShape, kCone, kQuiltDepth);
}

// The part of the quilt that a view is drawn to.
std::vector<std::uint8_t> PartOf(const Picture& quilt, int column, int row) {
    const std::size_t rowBytes = 4 * 40;
    std::vector<std::uint8_t> part;
    for (int y = 30 * row; y < 30 * (row + 1); ++y) {
        const auto start =
            quilt.pixels.begin() +
            static_cast<std::ptrdiff_t>(static_cast<std::size_t>(y) * quilt.RowBytes() +
                                        rowBytes * static_cast<std::size_t>(column));
        part.insert(part.end(), start, start + static_cast<std::ptrdiff_t>(rowBytes));
    }
    return part;
}

std::vector<std::uint8_t> ViewOf(const GaussianScene& scene, const PinholeCamera& camera) {
    Picture view(camera.width, camera.height);
    SplatRenderer(1).Draw(scene, camera, view.Target());
    return view.pixels;
}

TEST(Quilt, CamerasStandWithinTheCone) {
    const auto cameras = Cameras();
    ASSERT_EQ(cameras.size(), 6U);
    const double widest = kQuiltDepth * std::tan(kCone / 2 * std::numbers::pi / 180.0);
    EXPECT_NEAR(cameras.front().position[0], -widest, 1e-5);
    EXPECT_NEAR(cameras.back().position[0], widest, 1e-5);
}

TEST(Quilt, CamerasAreEqualAnglesApart) {
    const auto cameras = Cameras();
    const auto angle = [&cameras](std::size_t view) {
        return std::atan2(static_cast<double>(cameras[view].position[0]), kQuiltDepth) * 180.0 /
               std::numbers::pi;
    };
    for (std::size_t view = 1; view < cameras.size(); ++view) {
        EXPECT_NEAR(angle(view) - angle(view - 1), kCone / 5, 1e-3);
    }
}

TEST(Quilt, ViewsAgreeAtTheDepthInTheMiddle) {
    for (const PinholeCamera& camera : Cameras()) {
        const float x =
            camera.focalX * (0.3F - camera.position[0]) / static_cast<float>(kQuiltDepth) +
            camera.centreX;
        const PinholeCamera middle = ViewCamera();
        EXPECT_NEAR(x, middle.focalX * 0.3F / static_cast<float>(kQuiltDepth) + middle.centreX,
                    1e-3F);
        EXPECT_EQ(camera.rows, middle.rows);
        EXPECT_EQ(camera.centreY, middle.centreY);
    }
}

TEST(Quilt, OneViewIsTheCamerasOwn) {
    const auto cameras = QuiltCameras(ViewCamera(), {1, 1}, kCone, kQuiltDepth);
    ASSERT_EQ(cameras.size(), 1U);
    EXPECT_EQ(cameras[0].position, ViewCamera().position);
}

TEST(Quilt, ViewsLieInRowsFromTheLowerLeft) {
    const GaussianScene scene = test::PackedScene(test::ReliefGaussians(40));
    const auto cameras = Cameras();
    SplatRenderer renderer(2);
    const Picture quilt = DrawQuilt(renderer, scene, kQuiltShape, cameras);
    ASSERT_EQ(quilt.width, 120);
    ASSERT_EQ(quilt.height, 60);
    const std::array<std::array<int, 2>, 6> places = {
        {{0, 1}, {1, 1}, {2, 1}, {0, 0}, {1, 0}, {2, 0}}};
    for (std::size_t view = 0; view < places.size(); ++view) {
        const auto [column, row] = places[view];
        const auto part = PartOf(quilt, column, row);
        const auto alone = ViewOf(scene, cameras[view]);
        // Both of a pair are in the order of depths of one of them.
        int different = 0;
        for (std::size_t i = 0; i < part.size(); ++i) {
            different += std::abs(part[i] - alone[i]) > 2 ? 1 : 0;
        }
        EXPECT_EQ(different, 0) << view;
    }
}

TEST(Quilt, OddNumberOfViewsIsDrawnToTheLast) {
    const GaussianScene scene = test::PackedScene(test::ReliefGaussians(40));
    const QuiltShape shape = {3, 1};
    const auto cameras = QuiltCameras(ViewCamera(), shape, kCone, kQuiltDepth);
    SplatRenderer renderer(1);
    EXPECT_EQ(PartOf(DrawQuilt(renderer, scene, shape, cameras), 2, 0), ViewOf(scene, cameras[2]));
}

TEST(Quilt, NeedsACameraForEachView) {
    SplatRenderer renderer(1);
    const auto cameras = Cameras();
    EXPECT_THROW(static_cast<void>(DrawQuilt(renderer, test::PackedScene({}), {3, 3}, cameras)),
                 std::invalid_argument);
}

TEST(Quilt, MayNotBeLargerThanAPicture) {
    SplatRenderer renderer(1);
    std::vector<PinholeCamera> cameras(2, test::SceneCamera(20000, 10));
    EXPECT_THROW(static_cast<void>(DrawQuilt(renderer, test::PackedScene({}), {2, 1}, cameras)),
                 std::invalid_argument);
}

TEST(Quilt, SuffixTellsTheShapeOfAView) {
    EXPECT_EQ(QuiltSuffix({8, 6}, 420, 560), "_qs8x6a0.75");
    EXPECT_EQ(QuiltSuffix({5, 9}, 819, 455), "_qs5x9a1.8");
    EXPECT_EQ(QuiltSuffix({8, 6}, 512, 512), "_qs8x6a1");
}

}  // namespace
}  // namespace vistrel
