// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/share/even_thinning.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>
#include <utility>

namespace vistrel {
namespace {

constexpr std::size_t kSide = 64;

// A wall with a Gaussian on each of 64 x 64 pixels, row by row, at all depths.
RawScene Wall() {
    const PhotographCamera camera = {50.0F, 50.0F, 32.0F, 32.0F, kSide, kSide};
    RawScene scene({.count = kSide * kSide, .degree = 1, .camera = camera});
    for (std::size_t i = 0; i < scene.Count(); ++i) {
        const float z = 1.0F + static_cast<float>(i * 7 % 11);
        for (std::size_t row = 0; row < RawValues(1); ++row) {
            scene.Row(row)[i] = static_cast<float>(row * scene.Count() + i);
        }
        scene.Row(kPositionRow)[i] = (static_cast<float>(i % kSide) + 0.5F - 32.0F) / 50.0F * z;
        scene.Row(kPositionRow + 1)[i] = (static_cast<float>(i / kSide) + 0.5F - 32.0F) / 50.0F * z;
        scene.Row(kPositionRow + 2)[i] = z;
        for (std::size_t axis = 0; axis < 3; ++axis) scene.Row(kScaleRow + axis)[i] = -3.0F;
    }
    return scene;
}

// The place in the wall, which harmonics tell.
std::size_t PlaceOf(const RawScene& thinned, std::size_t i) {
    return static_cast<std::size_t>(thinned.Row(kHarmonicsRow)[i]) - kHarmonicsRow * kSide * kSide;
}

TEST(EvenThinning, KeepsOneOfEachSquare) {
    const RawScene wall = Wall();
    const RawScene thinned = EvenThinning(wall).To(wall.Count() / 16);
    std::set<std::pair<std::size_t, std::size_t>> squares;
    for (std::size_t i = 0; i < thinned.Count(); ++i) {
        const std::size_t place = PlaceOf(thinned, i);
        squares.emplace(place % kSide / 4, place / kSide / 4);
    }
    EXPECT_EQ(squares.size(), wall.Count() / 16);
}

TEST(EvenThinning, WhatStaysCoversTheAreaOfAll) {
    const RawScene wall = Wall();
    wall.Row(kScaleRow)[0] = -std::numeric_limits<float>::infinity();
    const RawScene thinned = EvenThinning(wall).To(wall.Count() / 4);
    for (std::size_t i = 0; i < thinned.Count(); ++i) {
        EXPECT_FLOAT_EQ(thinned.Row(kScaleRow + 2)[i], -3.0F + std::log(2.0F));
    }
}

TEST(EvenThinning, OrderAndOtherValuesStay) {
    const RawScene wall = Wall();
    const RawScene thinned = EvenThinning(wall).To(1000);
    ASSERT_EQ(thinned.Count(), 1000U);
    EXPECT_TRUE(thinned.Facts().camera);
    std::size_t before = 0;
    for (std::size_t i = 0; i < thinned.Count(); ++i) {
        const std::size_t place = PlaceOf(thinned, i);
        EXPECT_TRUE(i == 0 || place > before);
        before = place;
        for (std::size_t row = 0; row < RawValues(1); ++row) {
            if (row >= kScaleRow && row < kRotationRow) continue;
            EXPECT_EQ(thinned.Row(row)[i], wall.Row(row)[place]);
        }
    }
}

TEST(EvenThinning, AnyCountIsKept) {
    const RawScene wall = Wall();
    const EvenThinning thinning(wall);
    for (const std::size_t count : {std::size_t{1}, std::size_t{3}, std::size_t{4095}}) {
        const RawScene thinned = thinning.To(count);
        std::set<std::size_t> places;
        for (std::size_t i = 0; i < count; ++i) places.insert(PlaceOf(thinned, i));
        EXPECT_EQ(places.size(), count);
    }
}

TEST(EvenThinning, WhatNoPhotographShowsCountsToo) {
    const RawScene wall = Wall();
    for (std::size_t i = 0; i < wall.Count(); i += 2) {
        wall.Row(kPositionRow + 2)[i] *= i % 4 == 0 ? -1.0F : 0.0F;
        wall.Row(kPositionRow)[i + 1] = 1e30F;
    }
    EXPECT_EQ(EvenThinning(wall).To(100).Count(), 100U);
}

}  // namespace
}  // namespace vistrel
