// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/pinhole_camera.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>

namespace vistrel {
namespace {

constexpr PhotographCamera kPhotograph = {400, 410, 200, 150, 400, 300};

std::array<float, 2> PlaceOf(const PinholeCamera& camera, const std::array<float, 3>& point) {
    std::array<float, 3> before{};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t i = 0; i < 3; ++i) {
            before[row] += camera.rows[row][i] * (point[i] - camera.position[i]);
        }
    }
    return {camera.focalX * before[0] / before[2] + camera.centreX,
            camera.focalY * before[1] / before[2] + camera.centreY};
}

TEST(PinholeCamera, PhotographsOwnSizeIsTaken) {
    const PinholeCamera camera = FitCamera(kPhotograph, 0, 0);
    EXPECT_EQ(camera.width, 400);
    EXPECT_EQ(camera.height, 300);
    EXPECT_EQ(camera.focalX, 400.0F);
    EXPECT_EQ(camera.focalY, 410.0F);
}

TEST(PinholeCamera, AnotherShapeShowsTheWholePhotograph) {
    const PinholeCamera camera = FitCamera(kPhotograph, 1000, 600);
    EXPECT_FLOAT_EQ(camera.focalX, 800.0F);  // 600 / 300, the smaller of the two
    EXPECT_FLOAT_EQ(camera.focalY, 820.0F);
    EXPECT_FLOAT_EQ(camera.centreX, 500.0F);
    EXPECT_FLOAT_EQ(camera.centreY, 300.0F);
}

TEST(PinholeCamera, EyesAgreeAtTheirDistance) {
    const PinholeCamera camera = FitCamera(kPhotograph, 0, 0);
    const std::array<float, 3> point = {0.5F, -0.25F, 4.0F};
    for (const float offset : {-0.3F, 0.3F}) {
        const auto seen = PlaceOf(EyeOf(camera, offset, 4.0F), point);
        EXPECT_NEAR(seen[0], PlaceOf(camera, point)[0], 1e-3F);
        EXPECT_NEAR(seen[1], PlaceOf(camera, point)[1], 1e-3F);
    }
}

TEST(PinholeCamera, NearThingsLieToTheLeftForTheRightEye) {
    const PinholeCamera camera = FitCamera(kPhotograph, 0, 0);
    const std::array<float, 3> point = {0.0F, 0.0F, 2.0F};
    // 400 * 0.3 / 4 - 400 * 0.3 / 2
    EXPECT_NEAR(PlaceOf(EyeOf(camera, 0.3F, 4.0F), point)[0], 200.0F - 30.0F, 1e-3F);
}

TEST(PinholeCamera, EyesHaveNoVerticalDisparity) {
    const PinholeCamera camera = FitCamera(kPhotograph, 0, 0);
    const std::array<float, 3> point = {1.0F, 0.7F, 2.0F};
    EXPECT_EQ(PlaceOf(EyeOf(camera, 0.3F, 4.0F), point)[1],
              PlaceOf(EyeOf(camera, -0.3F, 4.0F), point)[1]);
}

TEST(PinholeCamera, EyeOfATurnedCameraMovesAlongItsOwnRight) {
    PinholeCamera camera = FitCamera(kPhotograph, 0, 0);
    camera.rows = {{{0, 0, 1}, {0, 1, 0}, {-1, 0, 0}}};
    const PinholeCamera eye = EyeOf(camera, 0.5F, 2.0F);
    EXPECT_EQ(eye.position, (std::array<float, 3>{0.0F, 0.0F, 0.5F}));
    EXPECT_EQ(eye.rows, camera.rows);
}

}  // namespace
}  // namespace vistrel
