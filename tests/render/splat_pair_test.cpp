// SPDX-License-Identifier: GPL-3.0-or-later
// Pairs of eyes, which are sorted once.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <stdexcept>
#include <vector>

#include "render/splat_renderer.h"
#include "tests/render/canvas.h"
#include "tests/support/splat_scenes.h"

namespace vistrel {
namespace {

using test::Canvas;
using test::Drawn;
using test::PackedScene;

struct Pair {
    Canvas left;
    Canvas right;
};

Pair DrawnPair(const GaussianScene& scene, const PinholeCamera& left, const PinholeCamera& right,
               int threads = 1) {
    Pair pair = {Canvas(left.width, left.height), Canvas(right.width, right.height)};
    SplatRenderer(threads).DrawPair(scene, left, pair.left.Target(), right, pair.right.Target());
    return pair;
}

int LargestDifference(const Canvas& a, const Canvas& b) {
    int largest = 0;
    for (std::size_t i = 0; i < a.Bytes().size(); ++i) {
        largest = std::max(largest, std::abs(a.Bytes()[i] - b.Bytes()[i]));
    }
    return largest;
}

class SplatPair : public testing::Test {
  protected:
    const GaussianScene scene_ = PackedScene(test::OverlappingGaussians(70));
    PinholeCamera camera_ = test::SceneCamera(200, 150);
    PinholeCamera left_ = EyeOf(camera_, -0.05F, 3.0F);
    PinholeCamera right_ = EyeOf(camera_, 0.05F, 3.0F);
};

TEST_F(SplatPair, EyesAreThePicturesDrawnAlone) {
    const Pair pair = DrawnPair(scene_, left_, right_);
    EXPECT_EQ(pair.left.Bytes(), Drawn(scene_, left_).Bytes());
    EXPECT_EQ(pair.right.Bytes(), Drawn(scene_, right_).Bytes());
}

TEST_F(SplatPair, EyesOfATurnedCameraAreThePicturesDrawnAlone) {
    // Rounding makes their depths differ a little.
    camera_.rows = {{{0.96F, 0, 0.28F}, {0, 1, 0}, {-0.28F, 0, 0.96F}}};
    left_ = EyeOf(camera_, -0.05F, 3.0F);
    right_ = EyeOf(camera_, 0.05F, 3.0F);
    const Pair pair = DrawnPair(scene_, left_, right_);
    EXPECT_LE(LargestDifference(pair.left, Drawn(scene_, left_)), 1);
    EXPECT_LE(LargestDifference(pair.right, Drawn(scene_, right_)), 1);
}

TEST_F(SplatPair, EyesOfATurnedCameraMayBeCloseTogetherFarFromTheOrigin) {
    // Rounding of their places is as large as the distance between them.
    camera_.rows = {{{0.96F, 0, 0.28F}, {0, 1, 0}, {-0.28F, 0, 0.96F}}};
    camera_.position = {-31.7F, 5.3F, -70.1F};
    for (const float offset : {1e-6F, 1e-5F, 1e-4F}) {
        EXPECT_NO_THROW(
            DrawnPair(scene_, EyeOf(camera_, -offset, 3.0F), EyeOf(camera_, offset, 3.0F)));
    }
}

TEST_F(SplatPair, EyesMayBeOfDifferentWidth) {
    right_.width = 100;
    const Pair pair = DrawnPair(scene_, left_, right_);
    EXPECT_EQ(pair.left.Bytes(), Drawn(scene_, left_).Bytes());
    EXPECT_EQ(pair.right.Bytes(), Drawn(scene_, right_).Bytes());
}

TEST_F(SplatPair, EqualEyesSeeTheSame) {
    const Pair pair = DrawnPair(scene_, camera_, camera_);
    EXPECT_EQ(pair.left.Bytes(), pair.right.Bytes());
}

TEST_F(SplatPair, WhatOnlyOneEyeSeesIsDrawn) {
    left_ = EyeOf(camera_, -10.0F, 1000.0F);
    right_ = EyeOf(camera_, 10.0F, 1000.0F);
    std::vector<RawGaussian> beside = test::FaintGaussians(50);
    for (RawGaussian& gaussian : beside) gaussian.position[0] += 10.0F;
    const GaussianScene scene = PackedScene(beside);
    const Pair pair = DrawnPair(scene, left_, right_);
    EXPECT_EQ(pair.right.Bytes(), Drawn(scene, right_).Bytes());
    EXPECT_NE(pair.right.Bytes(), pair.left.Bytes());
}

TEST_F(SplatPair, BytesDoNotDependOnTheNumberOfThreads) {
    const Pair one = DrawnPair(scene_, left_, right_, 1);
    const Pair three = DrawnPair(scene_, left_, right_, 3);
    EXPECT_EQ(one.left.Bytes(), three.left.Bytes());
    EXPECT_EQ(one.right.Bytes(), three.right.Bytes());
}

TEST_F(SplatPair, CamerasThatAreNoEyesAreRefused) {
    const auto refuses = [this](const PinholeCamera& other) {
        EXPECT_THROW(DrawnPair(scene_, left_, other), std::invalid_argument);
    };
    PinholeCamera turned = right_;
    turned.rows = {{{0, 0, 1}, {0, 1, 0}, {-1, 0, 0}}};
    refuses(turned);
    PinholeCamera higher = right_;
    higher.position[1] += 0.01F;
    refuses(higher);
    PinholeCamera longer = right_;
    longer.focalX *= 1.01F;
    refuses(longer);
    PinholeCamera lower = right_;
    lower.height += 1;
    refuses(lower);
}

}  // namespace
}  // namespace vistrel
