// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/camera_motion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

namespace vistrel {
namespace {

constexpr float kMiddleDepth = 4.0F;
constexpr float kMotionAmount = 0.1F;

// Looks to the left and down from somewhere.
PinholeCamera Base() {
    PinholeCamera camera;
    camera.position = {0.3F, -0.2F, 0.5F};
    camera.rows = {{{0.8F, 0.0F, 0.6F}, {-0.36F, 0.8F, 0.48F}, {-0.48F, -0.6F, 0.64F}}};
    camera.focalX = 400.0F;
    camera.focalY = 410.0F;
    camera.centreX = 210.0F;
    camera.centreY = 140.0F;
    camera.width = 400;
    camera.height = 300;
    return camera;
}

// Right, down and forwards of `camera`.
std::array<float, 3> Before(const PinholeCamera& camera, const std::array<float, 3>& point) {
    std::array<float, 3> before{};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t i = 0; i < 3; ++i) {
            before[row] += camera.rows[row][i] * (point[i] - camera.position[i]);
        }
    }
    return before;
}

std::array<float, 3> PointBefore(const PinholeCamera& camera, const std::array<float, 3>& before) {
    std::array<float, 3> point = camera.position;
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t i = 0; i < 3; ++i) point[i] += camera.rows[row][i] * before[row];
    }
    return point;
}

std::array<float, 2> PixelOf(const PinholeCamera& camera, const std::array<float, 3>& point) {
    const auto [x, y, z] = Before(camera, point);
    return {camera.focalX * x / z + camera.centreX, camera.focalY * y / z + camera.centreY};
}

// Where the camera stands, seen from the base.
std::array<float, 3> Way(CameraMotion motion, float phase) {
    return Before(Base(), MovedCamera(Base(), kMiddleDepth, motion, kMotionAmount, phase).position);
}

// All that a motion changes.
std::vector<float> Numbers(const PinholeCamera& camera) {
    std::vector<float> all(camera.position.begin(), camera.position.end());
    for (const auto& row : camera.rows) all.insert(all.end(), row.begin(), row.end());
    all.push_back(camera.centreX / camera.focalX);
    all.push_back(camera.centreY / camera.focalY);
    return all;
}

class CameraMotions : public testing::TestWithParam<CameraMotion> {
  protected:
    [[nodiscard]] static PinholeCamera At(float phase) {
        return MovedCamera(Base(), kMiddleDepth, GetParam(), kMotionAmount, phase);
    }
};

TEST_P(CameraMotions, EndIsTheBeginning) {
    EXPECT_EQ(Numbers(At(0.0F)), Numbers(At(1.0F)));
}

TEST_P(CameraMotions, NoAmountIsNoMotion) {
    for (const float phase : {0.0F, 0.25F, 0.6F}) {
        const auto moved = Numbers(MovedCamera(Base(), kMiddleDepth, GetParam(), 0.0F, phase));
        const auto base = Numbers(Base());
        for (std::size_t i = 0; i < base.size(); ++i) EXPECT_NEAR(moved[i], base[i], 1e-6F) << i;
    }
}

TEST_P(CameraMotions, GoesTheGivenWayAtMost) {
    float farthest = 0.0F;
    for (int step = 0; step < 100; ++step) {
        const auto [x, y, z] = Way(GetParam(), static_cast<float>(step) / 100.0F);
        farthest = std::max(farthest, std::hypot(x, y, z));
    }
    EXPECT_NEAR(farthest, kMotionAmount * kMiddleDepth, 0.001F);
}

// Steps from frame to frame change by a small part of the largest one, also over the end.
TEST_P(CameraMotions, StepsChangeSmoothly) {
    constexpr int kFrames = 64;
    const auto step = [](int frame) {
        const auto from = Numbers(At(static_cast<float>(frame) / kFrames));
        auto to = Numbers(At(static_cast<float>(frame + 1) / kFrames));
        for (std::size_t i = 0; i < to.size(); ++i) to[i] -= from[i];
        return to;
    };
    const float bound =
        0.5F * kMotionAmount * kMiddleDepth * std::pow(2 * 3.1416F / kFrames, 2.0F) * 2.1F;
    for (int frame = 0; frame < kFrames; ++frame) {
        const auto one = step(frame);
        const auto next = step((frame + 1) % kFrames);
        for (std::size_t i = 0; i < one.size(); ++i) {
            EXPECT_LT(std::abs(next[i] - one[i]), bound) << frame << ", " << i;
        }
    }
}

TEST_P(CameraMotions, RowsStayPerpendicular) {
    const auto rows = At(0.2F).rows;
    for (std::size_t a = 0; a < 3; ++a) {
        for (std::size_t b = 0; b < 3; ++b) {
            float dot = 0.0F;
            for (std::size_t i = 0; i < 3; ++i) dot += rows[a][i] * rows[b][i];
            EXPECT_NEAR(dot, a == b ? 1.0F : 0.0F, 1e-5F);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, CameraMotions,
                         testing::Values(CameraMotion::Sway, CameraMotion::Circle,
                                         CameraMotion::Dolly, CameraMotion::Orbit),
                         [](const auto& motion) {
                             return std::string(
                                 kCameraMotions[static_cast<std::size_t>(motion.param)].name);
                         });

TEST(CameraMotion, WhatLiesAtTheDepthStaysWhileTheCameraSwaysOrCircles) {
    const auto point = PointBefore(Base(), {0.7F, -0.5F, kMiddleDepth});
    const auto still = PixelOf(Base(), point);
    for (const CameraMotion motion : {CameraMotion::Sway, CameraMotion::Circle}) {
        for (const float phase : {0.1F, 0.25F, 0.7F}) {
            const auto seen =
                PixelOf(MovedCamera(Base(), kMiddleDepth, motion, kMotionAmount, phase), point);
            EXPECT_NEAR(seen[0], still[0], 1e-2F);
            EXPECT_NEAR(seen[1], still[1], 1e-2F);
        }
    }
}

TEST(CameraMotion, OrbitLooksAtThePointOnTheAxis) {
    const auto point = PointBefore(Base(), {0.0F, 0.0F, kMiddleDepth});
    for (const float phase : {0.1F, 0.25F, 0.7F}) {
        const PinholeCamera camera =
            MovedCamera(Base(), kMiddleDepth, CameraMotion::Orbit, kMotionAmount, phase);
        const auto [x, y, z] = Before(camera, point);
        EXPECT_NEAR(x, 0.0F, 1e-5F);
        EXPECT_NEAR(y, 0.0F, 1e-5F);
        EXPECT_NEAR(z, kMiddleDepth, 1e-5F);
    }
}

TEST(CameraMotion, SwayAndOrbitGoAsFarToEitherSide) {
    for (const CameraMotion motion : {CameraMotion::Sway, CameraMotion::Orbit}) {
        const auto right = Way(motion, 0.25F);
        const auto left = Way(motion, 0.75F);
        EXPECT_GT(right[0], 0.9F * kMotionAmount * kMiddleDepth);
        EXPECT_NEAR(right[0], -left[0], 1e-5F);
        EXPECT_NEAR(right[1], left[1], 1e-5F);
        EXPECT_NEAR(right[2], left[2], 1e-5F);
    }
}

TEST(CameraMotion, CircleGoesAroundTheCamera) {
    const float way = kMotionAmount * kMiddleDepth;
    const std::array<std::array<float, 3>, 4> places = {
        {{way, 0, 0}, {0, -way, 0}, {-way, 0, 0}, {0, way, 0}}};
    for (std::size_t quarter = 0; quarter < places.size(); ++quarter) {
        const auto found = Way(CameraMotion::Circle, 0.25F * static_cast<float>(quarter));
        for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(found[i], places[quarter][i], 1e-5F);
    }
}

// As far as the camera goes in the picture's directions.
TEST(CameraMotion, FarthestPhasesReachAsFarAsAnyOther) {
    for (const CameraMotion motion :
         {CameraMotion::Sway, CameraMotion::Circle, CameraMotion::Orbit}) {
        for (const float side : {-1.0F, 1.0F}) {
            const auto reach = [&](float phase) { return side * Way(motion, phase)[0]; };
            float farthest = 0.0F;
            for (const float phase : FarthestPhases(motion)) {
                farthest = std::max(farthest, reach(phase));
            }
            for (int step = 0; step < 100; ++step) {
                EXPECT_LE(reach(static_cast<float>(step) / 100.0F), farthest + 1e-5F);
            }
        }
    }
}

TEST(CameraMotion, DollyGoesForwardsAndTheSameWayBack) {
    EXPECT_NEAR(Way(CameraMotion::Dolly, 0.5F)[2], kMotionAmount * kMiddleDepth, 1e-5F);
    for (const float phase : {0.1F, 0.3F, 0.45F}) {
        const float there = Way(CameraMotion::Dolly, phase)[2];
        EXPECT_GT(there, 0.0F);
        EXPECT_NEAR(there, Way(CameraMotion::Dolly, 1.0F - phase)[2], 1e-5F);
    }
}

}  // namespace
}  // namespace vistrel
