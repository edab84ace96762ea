// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/splat_renderer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <vector>

#include "tests/render/canvas.h"
#include "tests/support/splat_scene_bytes.h"
#include "tests/support/splat_scenes.h"

namespace vistrel {
namespace {

using test::Canvas;
using test::Drawn;
using test::PackedScene;
using test::WhiteVertex;

constexpr float kNoNumber = std::numeric_limits<float>::quiet_NaN();
constexpr float kEndless = std::numeric_limits<float>::infinity();
constexpr float kTiny = 1e-6F;    // a standard deviation far below a pixel
constexpr float kLowPass = 0.3F;  // what remains of such a Gaussian: its variance in pixels

PinholeCamera LevelCamera() {
    PinholeCamera camera;
    camera.focalX = camera.focalY = 100.0F;
    camera.centreX = camera.centreY = 50.0F;
    camera.width = camera.height = 100;
    return camera;
}

Canvas DrawnOf(const std::vector<RawGaussian>& gaussians) {
    return Drawn(PackedScene(gaussians), LevelCamera());
}

bool IsBlack(const Canvas& picture) {
    return std::ranges::all_of(picture.Bytes(), [](std::uint8_t value) { return value == 0; });
}

TEST(SplatRenderer, NothingIsBlackAndUncovered) {
    EXPECT_TRUE(IsBlack(DrawnOf({})));
}

TEST(SplatRenderer, OneGaussianHasTheClosedForm) {
    // 100 * 0.2 / 2 = 10 pixels of standard deviation around the centre of pixel 50, 50.
    const Canvas picture = DrawnOf({WhiteVertex({0.01F, 0.01F, 2}, 0.2F, 0.9F)});
    for (const int x : {30, 41, 50, 58, 70}) {
        for (const int y : {35, 50, 63}) {
            const float square = static_cast<float>((x - 50) * (x - 50) + (y - 50) * (y - 50));
            const float covered = 0.9F * std::exp(-0.5F * square / (100.0F + kLowPass));
            for (const int value : picture.At(x, y)) {
                EXPECT_NEAR(static_cast<float>(value), 255.0F * covered, 0.6F) << x << ", " << y;
            }
        }
    }
}

TEST(SplatRenderer, TinyGaussianIsAsWideAsTheLowPassFilter) {
    const Canvas picture = DrawnOf({WhiteVertex({0.21F, -0.39F, 2}, kTiny, 0.5F)});
    const float neighbour = 0.5F * std::exp(-0.5F / kLowPass);
    EXPECT_NEAR(static_cast<float>(picture.At(60, 30)[0]), 127.5F, 1.0F);
    EXPECT_NEAR(static_cast<float>(picture.At(61, 30)[0]), 255.0F * neighbour, 1.0F);
    EXPECT_NEAR(static_cast<float>(picture.At(60, 31)[0]), 255.0F * neighbour, 1.0F);
    EXPECT_EQ(picture.At(63, 30)[0], 0);
}

TEST(SplatRenderer, NearerOneCoversWhateverTheOrderInTheScene) {
    constexpr float kDark = -0.5F / 0.28209478F;
    RawGaussian red = WhiteVertex({0.01F, 0.01F, 2}, kTiny, 0.6F);
    red.colorDc[1] = red.colorDc[2] = kDark;
    RawGaussian green = WhiteVertex({0.02F, 0.02F, 4}, kTiny, 0.5F);
    green.colorDc[0] = green.colorDc[2] = kDark;
    for (const auto& scene : {std::vector{red, green}, std::vector{green, red}}) {
        const std::array<int, 4> pixel = DrawnOf(scene).At(50, 50);
        EXPECT_NEAR(pixel[0], 0.6 * 255, 1);
        EXPECT_NEAR(pixel[1], 0.4 * 0.5 * 255, 1);
        EXPECT_EQ(pixel[2], 0);
        EXPECT_NEAR(pixel[3], 0.8 * 255, 1);
    }
}

TEST(SplatRenderer, BytesDoNotDependOnTheNumberOfThreads) {
    const GaussianScene scene = PackedScene(test::OverlappingGaussians(100));
    const PinholeCamera camera = test::SceneCamera(300, 200);
    const Canvas one = Drawn(scene, camera, 1);
    for (const int threads : {2, 3, 8}) {
        EXPECT_EQ(Drawn(scene, camera, threads).Bytes(), one.Bytes()) << threads;
    }
}

TEST(SplatRenderer, DrawingAgainGivesTheSameBytes) {
    const GaussianScene scene = PackedScene(test::ReliefGaussians(60));
    const PinholeCamera camera = test::SceneCamera(200, 150);
    SplatRenderer renderer(2);
    Canvas first(camera.width, camera.height);
    Canvas other(333, 77);
    Canvas second(camera.width, camera.height);
    renderer.Draw(scene, camera, first.Target());
    renderer.Draw(PackedScene(test::NeedleGaussians(100)), test::SceneCamera(333, 77),
                  other.Target());
    renderer.Draw(scene, camera, second.Target());
    EXPECT_EQ(first.Bytes(), second.Bytes());
}

TEST(SplatRenderer, EveryPixelOfAnOddSizeIsWritten) {
    for (const int width : {1, 31, 33, 65}) {
        for (const int height : {1, 2, 47}) {
            const Canvas picture = Drawn(PackedScene({}), test::SceneCamera(width, height));
            EXPECT_TRUE(IsBlack(picture)) << width << " x " << height;
        }
    }
}

TEST(SplatRenderer, NothingIsWrittenBesideRowsOfALargerPicture) {
    const PinholeCamera camera = test::SceneCamera(33, 20);
    Canvas larger(50, 30);
    PixelTarget target = larger.Target();
    target.pixels += 4 * (50 * 5 + 7);
    SplatRenderer(1).Draw(PackedScene(test::ReliefGaussians(20)), camera, target);
    int touched = 0;
    for (int row = 0; row < 30; ++row) {
        for (int column = 0; column < 50; ++column) {
            const bool within = column >= 7 && column < 40 && row >= 5 && row < 25;
            const std::array<int, 4> untouched = {Canvas::kUntouched, Canvas::kUntouched,
                                                  Canvas::kUntouched, Canvas::kUntouched};
            if (!within) touched += larger.At(column, row) == untouched ? 0 : 1;
        }
    }
    EXPECT_EQ(touched, 0);
}

TEST(SplatRenderer, WhatIsBehindTheCameraOrNotFiniteIsLeftOut) {
    RawGaussian noColour = WhiteVertex({0, 0, 2}, 0.1F, 0.9F);
    noColour.colorDc[1] = kNoNumber;
    RawGaussian endless = WhiteVertex({0, 0, 2}, 0.1F, 0.9F);
    endless.logScale = {1000.0F, 0.0F, 1000.0F};
    RawGaussian noOpacity = WhiteVertex({0, 0, 2}, 0.1F, 0.9F);
    noOpacity.opacityLogit = kNoNumber;
    RawGaussian noScale = WhiteVertex({0, 0, 2}, 0.1F, 0.9F);
    noScale.logScale[1] = kNoNumber;
    RawGaussian noRotation = WhiteVertex({0, 0, 2}, 0.1F, 0.9F);
    noRotation.rotation[3] = kEndless;
    EXPECT_TRUE(IsBlack(DrawnOf(
        {WhiteVertex({0, 0, -2}, 0.1F, 0.9F), WhiteVertex({0, 0, 0}, 0.1F, 0.9F), noColour, endless,
         noOpacity, noScale, noRotation, WhiteVertex({kNoNumber, 0, 2}, 0.1F, 0.9F),
         WhiteVertex({0, 0, kNoNumber}, 0.1F, 0.9F), WhiteVertex({0, kEndless, 2}, 0.1F, 0.9F),
         WhiteVertex({0, 0, kEndless}, 0.1F, 0.9F)})));
}

TEST(SplatRenderer, WhatOverflowsOnItsWayToThePictureIsLeftOut) {
    PinholeCamera camera = LevelCamera();
    camera.rows = {{{0.96F, 0, 0.28F}, {0, 1, 0}, {-0.28F, 0, 0.96F}}};
    std::vector<RawGaussian> gaussians;
    for (const float x : {3e38F, -3e38F}) {
        for (const float y : {3e38F, -3e38F}) {
            gaussians.push_back(WhiteVertex({x, y, 3e38F}, 1.0F, 0.9F));
            gaussians.push_back(WhiteVertex({x, y, 1.0F}, 1e20F, 0.9F));
        }
    }
    EXPECT_TRUE(IsBlack(Drawn(PackedScene(gaussians), camera)));
}

TEST(SplatRenderer, HugeOneCloseByCoversThePictureEvenly) {
    const Canvas picture = DrawnOf({WhiteVertex({0, 0, 0.02F}, 100.0F, 0.5F)});
    for (const int x : {0, 50, 99}) EXPECT_NEAR(picture.At(x, x)[3], 127, 2);
}

TEST(SplatRenderer, FarAsideOneDoesNotStreakAcrossThePicture) {
    // Its linear form at its own place would stretch it over the whole row.
    EXPECT_TRUE(IsBlack(DrawnOf({WhiteVertex({30.0F, 0, 0.1F}, 0.05F, 0.99F)})));
}

TEST(SplatRenderer, FlatOneSeenFromTheSideStaysAPixelWide) {
    RawGaussian flat = WhiteVertex({0.01F, 0.01F, 2}, 0.2F, 0.9F);
    flat.logScale[0] = -kEndless;
    const Canvas picture = DrawnOf({flat});
    EXPECT_GT(picture.At(50, 60)[0], 100);
    EXPECT_EQ(picture.At(53, 50)[0], 0);
}

TEST(SplatRenderer, NeedleThroughManyTilesIsWhole) {
    RawGaussian needle = WhiteVertex({0.01F, 0.01F, 2}, kTiny, 0.9F);
    needle.logScale[0] = std::log(10.0F);  // 500 pixels
    const float turn = 0.5F * std::atan(1.0F);
    needle.rotation = {std::cos(turn), 0, 0, std::sin(turn)};
    const Canvas picture = DrawnOf({needle});
    for (int i = 0; i < 100; ++i) {
        EXPECT_GT(picture.At(i, i)[0], 200) << i;
        EXPECT_EQ(picture.At((i + 6) % 100, i)[0], 0) << i;
    }
}

TEST(SplatRenderer, HiddenOnesChangeNothing) {
    std::vector<RawGaussian> wall(300, WhiteVertex({0, 0, 1}, 10.0F, 0.999F));
    const Canvas before = DrawnOf(wall);
    constexpr float kDark = -0.5F / 0.28209478F;
    for (int i = 0; i < 300; ++i) {
        wall.push_back(WhiteVertex({0, 0, 2}, 10.0F, 0.999F));
        wall.back().colorDc.fill(kDark);
    }
    EXPECT_EQ(DrawnOf(wall).Bytes(), before.Bytes());
}

TEST(SplatRenderer, PictureWithoutPixelsIsRefused) {
    SplatRenderer renderer(1);
    for (const int side : {0, -1, kLargestPictureSide + 1}) {
        PinholeCamera camera = LevelCamera();
        camera.width = side;
        EXPECT_THROW(renderer.Draw(PackedScene({}), camera, {}), std::invalid_argument) << side;
    }
}

}  // namespace
}  // namespace vistrel
