// SPDX-License-Identifier: GPL-3.0-or-later
// The numbers are those of the page, worked out by hand.
#include "render/window_view.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>

namespace vistrel {
namespace {

constexpr EyeShape kWhole = {.width = 1200, .height = 700};
constexpr double kDistance = 3.0561413579872255;  // of (-0.3, 0.5, -3)
constexpr double kTanOf15Degrees = 0.2679491924311227;

// Where a point falls, in pixels.
std::array<double, 2> SeenAt(const PinholeCamera& camera, const std::array<float, 3>& point) {
    std::array<double, 3> at{};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t i = 0; i < 3; ++i) {
            at[row] += static_cast<double>(camera.rows[row][i]) *
                       static_cast<double>(point[i] - camera.position[i]);
        }
    }
    return {
        static_cast<double>(camera.focalX) * at[0] / at[2] + static_cast<double>(camera.centreX),
        static_cast<double>(camera.focalY) * at[1] / at[2] + static_cast<double>(camera.centreY)};
}

TEST(WindowView, OriginIsInTheMiddle) {
    for (const bool general : {false, true}) {
        const auto seen = SeenAt(WindowCamera({.general = general}, kWhole, 1200, 700), {0, 0, 0});
        EXPECT_NEAR(seen[0], 600, 1e-3);
        EXPECT_NEAR(seen[1], 350, 1e-3);
    }
}

TEST(WindowView, DownInTheSceneIsDownInThePicture) {
    for (const bool general : {false, true}) {
        const PinholeCamera camera = WindowCamera({.general = general}, kWhole, 1200, 700);
        const auto seen = SeenAt(camera, {0, 0.1F, 0});
        EXPECT_GT(seen[1], 355);
        EXPECT_NEAR(seen[0], 600, 1e-3);
        EXPECT_GT(SeenAt(camera, {0.1F, 0, 0})[0], 605);
    }
}

TEST(WindowView, AxesStandUprightOnEachOther) {
    const PinholeCamera camera = WindowCamera({}, kWhole, 1200, 700);
    for (std::size_t a = 0; a < 3; ++a) {
        for (std::size_t b = 0; b < 3; ++b) {
            float product = 0.0F;
            for (std::size_t i = 0; i < 3; ++i) product += camera.rows[a][i] * camera.rows[b][i];
            EXPECT_NEAR(product, a == b ? 1.0F : 0.0F, 1e-6F);
        }
    }
}

TEST(WindowView, ViewAngleIsThirtyDegreesUpright) {
    const PinholeCamera camera = WindowCamera({}, kWhole, 1200, 700);
    EXPECT_NEAR(camera.focalY, 350 / kTanOf15Degrees, 1e-2);
    EXPECT_EQ(camera.focalX, camera.focalY);
}

TEST(WindowView, GeneralViewAngleIsSixtyFiveDegrees) {
    const PinholeCamera camera = WindowCamera({.general = true}, kWhole, 1200, 700);
    EXPECT_NEAR(camera.focalY, 350 / 0.6370702608, 1e-2);
    EXPECT_EQ(camera.position, (std::array<float, 3>{0, -1, -3}));
}

TEST(WindowView, LeftEyeStandsWhereTheCameraIsAtTheNeutralDepth) {
    const EyePlaces eyes = WindowEyes({}, kWhole, 1200, 700);
    EXPECT_NEAR(eyes.left.offset, 0.0, 1e-6);
    // 40 / 11 degrees, seen from the origin.
    EXPECT_NEAR(eyes.right.offset, kDistance * std::tan(40.0 / 11.0 * 3.14159265358979 / 180),
                1e-5);
}

TEST(WindowView, FocusOfOwnScenesShiftsEachEyeBySixHundredthsAtTheOrigin) {
    const EyePlaces eyes = WindowEyes({}, kWhole, 1200, 700);
    const double perUnit = 700 / (2 * kDistance * kTanOf15Degrees);
    EXPECT_NEAR(eyes.left.shift, 0.06 * perUnit, 1e-3);
    EXPECT_NEAR(eyes.right.shift, (static_cast<double>(eyes.right.offset) - 0.06) * perUnit, 1e-3);
}

TEST(WindowView, DepthMovesTheFocusOfOwnScenesAlong) {
    const double perUnit = 700 / (2 * kDistance * kTanOf15Degrees);
    const EyePlaces eyes = WindowEyes({.focus = -20, .depth = 60}, kWhole, 1200, 700);
    // 200 at a depth of 60: (6 - 1) / 11 of 40 degrees from -20.
    const double left = kDistance * std::tan((-20 + 40 * 5.0 / 11) * 3.14159265358979 / 180);
    EXPECT_NEAR(eyes.left.offset, left, 1e-5);
    EXPECT_NEAR(eyes.left.shift, (left + 0.1) * perUnit, 1e-3);  // 60 - 20 + 2 * 30 thousandths
}

TEST(WindowView, FocusOfGeneralScenesActsTenTimes) {
    const EyePlaces none = WindowEyes({.general = true}, kWhole, 1200, 700);
    const EyePlaces some = WindowEyes({.general = true, .focus = 10}, kWhole, 1200, 700);
    const double perUnit = 700 / (2 * std::sqrt(10.0) * 0.6370702608);
    EXPECT_NEAR(some.left.shift - none.left.shift, 0.1 * perUnit, 1e-3);
    EXPECT_NEAR(some.right.shift - none.right.shift, -0.1 * perUnit, 1e-3);
}

TEST(WindowView, HalvesSideBySideShowTheMiddleAtTheScaleOfTheWhole) {
    const EyeShape half = EyeShapeOf(StereoLayout::SideBySide, 1200, 700);
    const PinholeCamera camera = WindowCamera({}, half, 1200, 700);
    EXPECT_EQ(camera.width, 600);
    EXPECT_EQ(camera.centreX, 300.0F);
    EXPECT_EQ(camera.focalX, camera.focalY);
    // As on the page the skew is a share of what is shown, which is half as wide.
    EXPECT_NEAR(WindowEyes({}, half, 1200, 700).left.shift,
                WindowEyes({}, kWhole, 1200, 700).left.shift / 2, 1e-4);
}

TEST(WindowView, CellsOfTheGridShowTheWholeSqueezed) {
    const PinholeCamera camera =
        WindowCamera({}, EyeShapeOf(StereoLayout::Grid, 1200, 700), 1200, 700);
    EXPECT_EQ(camera.width, 600);
    EXPECT_EQ(camera.height, 700);
    EXPECT_FLOAT_EQ(camera.focalX, 0.5F * camera.focalY);
}

}  // namespace
}  // namespace vistrel
