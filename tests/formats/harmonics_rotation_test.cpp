// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/harmonics_rotation.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <limits>
#include <vector>

#include "tests/formats/scene_files.h"
#include "tests/support/plain_harmonics.h"

namespace vistrel {
namespace {

// A turn by no right angle about an axis that is none of the three.
constexpr Matrix3 kOdd = {0.36, 0.48, -0.8, -0.8, 0.6, 0.0, 0.48, 0.64, 0.6};

// The sum of a Gaussian's harmonics of one colour, without the first, seen along a direction.
double SeenAlong(const RawScene& scene, std::size_t channel, const std::array<double, 3>& d) {
    const auto basis = test::PlainHarmonics(d[0], d[1], d[2]);
    const std::size_t functions = HarmonicsCount(scene.Degree()) - 1;
    double sum = 0.0;
    for (std::size_t k = 0; k < functions; ++k) {
        sum += basis[k + 1] * scene.Row(kHarmonicsRow + channel * functions + k)[0];
    }
    return sum;
}

TEST(HarmonicsRotation, WhatIsSeenTurnsWithIt) {
    const std::array<double, 3> before = {0.48, -0.64, 0.6};
    std::array<double, 3> after = {};
    for (std::size_t k = 0; k < 3; ++k) {
        after[k] =
            kOdd[3 * k] * before[0] + kOdd[3 * k + 1] * before[1] + kOdd[3 * k + 2] * before[2];
    }
    for (int degree = 1; degree <= kMostHarmonicsDegree; ++degree) {
        const RawScene still = test::VariedScene(1, degree);
        const RawScene turned = test::VariedScene(1, degree);
        HarmonicsRotation(kOdd, degree).Turn(1, 32, turned.Row(0));
        for (std::size_t channel = 0; channel < 3; ++channel) {
            EXPECT_NEAR(SeenAlong(turned, channel, after), SeenAlong(still, channel, before), 1e-6)
                << degree;
        }
    }
}

TEST(HarmonicsRotation, RightAnglesAreExact) {
    constexpr Matrix3 kAboutZ = {0, -1, 0, 1, 0, 0, 0, 0, 1};
    const RawScene scene = test::VariedScene(1, 3);
    const RawScene still = test::VariedScene(1, 3);
    for (int i = 0; i < 4; ++i) HarmonicsRotation(kAboutZ, 3).Turn(1, 32, scene.Row(0));
    for (std::size_t row = 0; row < RawValues(3); ++row) {
        EXPECT_EQ(scene.Row(row)[0], still.Row(row)[0]) << row;
    }
}

}  // namespace
}  // namespace vistrel
