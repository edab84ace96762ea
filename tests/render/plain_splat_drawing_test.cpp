// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/plain_splat_drawing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "tests/support/splat_scene_bytes.h"
#include "tests/support/splat_scenes.h"

namespace vistrel {
namespace {

using test::DrawPlainly;
using test::WhiteVertex;

constexpr float kTinyScale = 1e-6F;    // a standard deviation far below a pixel
constexpr float kPlainLowPass = 0.3F;  // what remains of such a Gaussian: its variance in pixels
constexpr float kBlack = -0.5F / 0.28209478F;

PinholeCamera PlainCamera() {
    PinholeCamera camera;
    camera.focalX = camera.focalY = 100.0F;
    camera.centreX = camera.centreY = 50.0F;
    camera.width = camera.height = 100;
    return camera;
}

float Red(const test::PlainPicture& picture, int column, int row) {
    return picture.rgb[static_cast<std::size_t>(3 * (row * picture.width + column))];
}

float Green(const test::PlainPicture& picture, int column, int row) {
    return picture.rgb[static_cast<std::size_t>(3 * (row * picture.width + column) + 1)];
}

float Through(const test::PlainPicture& picture, int column, int row) {
    return picture.through[static_cast<std::size_t>(row * picture.width + column)];
}

// The column of the brightest pixel in a row.
int BrightestColumn(const test::PlainPicture& picture, int row) {
    int best = 0;
    for (int column = 1; column < picture.width; ++column) {
        if (Red(picture, column, row) > Red(picture, best, row)) best = column;
    }
    return best;
}

TEST(PlainSplatDrawing, GaussianFallsOnThePredictedPixel) {
    // 100 * 0.21 / 2 + 50 = 60.5 and 100 * -0.39 / 2 + 50 = 30.5, the centre of pixel 60, 30.
    const test::PlainPicture picture =
        DrawPlainly(std::vector{WhiteVertex({0.21F, -0.39F, 2}, kTinyScale, 0.5F)}, PlainCamera());
    EXPECT_NEAR(Red(picture, 60, 30), 0.5F, 1e-4F);
    const float neighbour = 0.5F * std::exp(-0.5F / kPlainLowPass);
    EXPECT_NEAR(Red(picture, 61, 30), neighbour, 1e-4F);
    EXPECT_NEAR(Red(picture, 59, 30), neighbour, 1e-4F);
    EXPECT_NEAR(Red(picture, 60, 29), neighbour, 1e-4F);
    EXPECT_NEAR(Red(picture, 60, 31), neighbour, 1e-4F);
    EXPECT_EQ(Red(picture, 63, 30), 0.0F);
}

TEST(PlainSplatDrawing, NothingLetsAllThrough) {
    const test::PlainPicture picture = DrawPlainly({}, PlainCamera());
    EXPECT_TRUE(std::all_of(picture.through.begin(), picture.through.end(),
                            [](float value) { return value == 1.0F; }));
}

TEST(PlainSplatDrawing, DirectionOfOneIsThePicturesEdge) {
    // A photograph of 400 x 300: the square's direction u, v lies at 0.5 u z, 0.5 * 0.75 v z.
    const PinholeCamera camera = FitCamera({400, 400, 200, 150, 400, 300}, 0, 0);
    const float depth = 3.0F;
    const test::PlainPicture picture = DrawPlainly(
        std::vector{WhiteVertex({0.5F * depth, 0.375F * depth, depth}, kTinyScale, 0.5F)}, camera);
    // The corner is half a pixel away from the last pixel's centre on both axes.
    EXPECT_NEAR(Red(picture, 399, 299), 0.5F * std::exp(-0.5F * 0.5F / kPlainLowPass), 1e-3F);
}

TEST(PlainSplatDrawing, NearerOneCoversWhateverTheOrderInTheFile) {
    RawGaussian red = WhiteVertex({0.01F, 0.01F, 2}, kTinyScale, 0.6F);
    red.colorDc[1] = red.colorDc[2] = kBlack;
    RawGaussian green = WhiteVertex({0.02F, 0.02F, 4}, kTinyScale, 0.5F);
    green.colorDc[0] = green.colorDc[2] = kBlack;
    for (const auto& scene : {std::vector{red, green}, std::vector{green, red}}) {
        const test::PlainPicture picture = DrawPlainly(scene, PlainCamera());
        EXPECT_NEAR(Red(picture, 50, 50), 0.6F, 1e-4F);
        EXPECT_NEAR(Green(picture, 50, 50), 0.4F * 0.5F, 1e-4F);
        EXPECT_NEAR(Through(picture, 50, 50), 0.4F * 0.5F, 1e-4F);
    }
}

TEST(PlainSplatDrawing, WidthOnThePictureIsScaleTimesFocalOverDepth) {
    // 100 * 0.2 / 2 = 10 pixels of standard deviation.
    const test::PlainPicture picture =
        DrawPlainly(std::vector{WhiteVertex({0.01F, 0.01F, 2}, 0.2F, 0.9F)}, PlainCamera());
    EXPECT_NEAR(Red(picture, 60, 50), 0.9F * std::exp(-0.5F * 100.0F / (100.0F + kPlainLowPass)),
                2e-3F);
    EXPECT_NEAR(Red(picture, 50, 40), 0.9F * std::exp(-0.5F * 100.0F / (100.0F + kPlainLowPass)),
                2e-3F);
}

TEST(PlainSplatDrawing, RotationTurnsTheLongAxis) {
    RawGaussian needle = WhiteVertex({0.01F, 0.01F, 2}, kTinyScale, 0.9F);
    needle.logScale[0] = std::log(0.2F);
    const float half = std::sqrt(0.5F);
    needle.rotation = {half, 0, 0, half};  // x becomes y
    const test::PlainPicture picture = DrawPlainly(std::vector{needle}, PlainCamera());
    EXPECT_GT(Red(picture, 50, 60), 0.5F);
    EXPECT_LT(Red(picture, 53, 50), 0.01F);
}

TEST(PlainSplatDrawing, QuaternionNeedNotBeNormalised) {
    RawGaussian needle = WhiteVertex({0.01F, 0.01F, 2}, kTinyScale, 0.9F);
    needle.logScale[0] = std::log(0.2F);
    needle.rotation = {3, 0, 0, 3};
    const test::PlainPicture picture = DrawPlainly(std::vector{needle}, PlainCamera());
    EXPECT_NEAR(Red(picture, 50, 60), 0.9F * std::exp(-0.5F * 100.0F / (100.0F + kPlainLowPass)),
                2e-3F);
}

TEST(PlainSplatDrawing, WhatIsBehindTheCameraOrNotFiniteIsLeftOut) {
    RawGaussian noColour = WhiteVertex({0, 0, 2}, 0.1F, 0.9F);
    noColour.colorDc[1] = std::numeric_limits<float>::quiet_NaN();
    RawGaussian endless = WhiteVertex({0, 0, 2}, 0.1F, 0.9F);
    endless.logScale[2] = 1000.0F;
    endless.logScale[0] = 1000.0F;
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    const test::PlainPicture picture = DrawPlainly(
        std::vector{WhiteVertex({0, 0, -2}, 0.1F, 0.9F), noColour, endless,
                    WhiteVertex({nan, 0, 2}, 0.1F, 0.9F), WhiteVertex({0, 0, nan}, 0.1F, 0.9F),
                    WhiteVertex({0, infinity, 2}, 0.1F, 0.9F)},
        PlainCamera());
    EXPECT_TRUE(std::all_of(picture.rgb.begin(), picture.rgb.end(),
                            [](float value) { return value == 0.0F; }));
}

TEST(PlainSplatDrawing, CameraOnTheRightSeesNearThingsToTheLeft) {
    PinholeCamera camera = PlainCamera();
    test::ShiftSideways(camera, 0.5F, 4.0F);
    const std::vector scene = {WhiteVertex({0.005F, -0.59F, 2}, 0.01F, 0.9F),
                               WhiteVertex({0.01F, 0.02F, 4}, 0.02F, 0.9F),
                               WhiteVertex({0.02F, 2.37F, 8}, 0.04F, 0.9F)};
    const test::PlainPicture picture = DrawPlainly(scene, camera);
    // A point straight ahead at depth z lands at focal * o (z - d) / (o^2 + d z) off the middle:
    // -12.1 pixels at 2, 0 at 4, 6.2 at 8. Rows: the depth before the turned camera is close to z.
    EXPECT_NEAR(BrightestColumn(picture, 20), 38, 1);
    EXPECT_NEAR(BrightestColumn(picture, 50), 50, 1);
    EXPECT_NEAR(BrightestColumn(picture, 79), 56, 1);
}

}  // namespace
}  // namespace vistrel
