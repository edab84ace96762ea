// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/eye_pair.h"

#include <gtest/gtest.h>

namespace vistrel {
namespace {

constexpr float kUsual = 1.0F / 30.0F;

PinholeCamera Camera() {
    return FitCamera({800, 800, 500, 300, 1000, 600}, 0, 0);
}

// By how many pixels the right eye sees a thing farther right than the left eye does.
float ParallaxAt(const EyePlaces& eyes, float depth) {
    const float focal = Camera().focalX;
    const auto seen = [&](const EyePlace& eye) { return eye.shift - focal * eye.offset / depth; };
    return seen(eyes.right) - seen(eyes.left);
}

TEST(EyePair, EyesStandOnBothSidesOfTheCamera) {
    const EyePlaces eyes = EyesAround(Camera(), 0.06F, 2.0F);
    EXPECT_EQ(eyes.left.offset, -0.03F);
    EXPECT_EQ(eyes.right.offset, 0.03F);
}

TEST(EyePair, BothEyesSeeWhatLiesOnTheScreenInOnePlace) {
    EXPECT_NEAR(ParallaxAt(EyesAround(Camera(), 0.06F, 2.0F), 2.0F), 0.0F, 1e-4F);
}

TEST(EyePair, EyeAlongATurnedCameraMovesToItsRight) {
    PinholeCamera camera = Camera();
    camera.rows = {{{0, 0, 1}, {0, 1, 0}, {-1, 0, 0}}};
    const PinholeCamera eye = EyeAt(camera, {0.5F, 7.0F});
    EXPECT_EQ(eye.position, (std::array<float, 3>{0, 0, 0.5F}));
    EXPECT_EQ(eye.centreX, camera.centreX + 7.0F);
}

TEST(EyePair, NearestLiesOnTheScreen) {
    EXPECT_NEAR(ParallaxAt(ComfortableEyes(Camera(), {2, 50}, kUsual), 2.0F), 0.0F, 1e-4F);
}

TEST(EyePair, FarthestHasTheWholeParallax) {
    EXPECT_NEAR(ParallaxAt(ComfortableEyes(Camera(), {2, 50}, kUsual), 50.0F), 1000.0F / 30.0F,
                1e-3F);
}

TEST(EyePair, FlatSceneDoesNotDriveTheEyesApart) {
    const EyePlaces eyes = ComfortableEyes(Camera(), {2, 2.01F}, kUsual);
    EXPECT_NEAR(eyes.right.offset - eyes.left.offset, 0.2F, 1e-6F);
}

TEST(EyePair, SceneInOneDepthHasEyes) {
    const EyePlaces eyes = ComfortableEyes(Camera(), {3, 3}, kUsual);
    EXPECT_NEAR(eyes.right.offset - eyes.left.offset, 0.3F, 1e-6F);
}

TEST(EyePair, NoParallaxMakesEqualEyes) {
    const EyePlaces eyes = ComfortableEyes(Camera(), {2, 50}, 0.0F);
    EXPECT_EQ(eyes.left.offset, 0.0F);
    EXPECT_EQ(eyes.left.shift, 0.0F);
    EXPECT_EQ(eyes.right.offset, 0.0F);
    EXPECT_EQ(eyes.right.shift, 0.0F);
}

}  // namespace
}  // namespace vistrel
