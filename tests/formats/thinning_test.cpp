// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/thinning.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

namespace vistrel {
namespace {

constexpr float kNothing = std::numeric_limits<float>::quiet_NaN();
constexpr float kEndless = std::numeric_limits<float>::infinity();

// All values of a scene are its Gaussians' places, so that they say where they come from.
RawScene Numbered(std::size_t count, int degree) {
    RawScene scene({count, degree, {}});
    for (std::size_t row = 0; row < RawValues(degree); ++row) {
        for (std::size_t i = 0; i < count; ++i) scene.Row(row)[i] = static_cast<float>(i + 1);
    }
    return scene;
}

std::vector<float> Places(const RawScene& scene) {
    return {scene.Row(0), scene.Row(0) + scene.Count()};
}

// Opacities and scales of few kinds, so that many are equal.
RawScene WithFewImportances(std::size_t count) {
    RawScene scene = Numbered(count, 1);
    std::mt19937 random(5);
    std::uniform_int_distribution<int> step(-3, 3);
    for (std::size_t row = kOpacityRow; row < kRotationRow; ++row) {
        for (std::size_t i = 0; i < count; ++i) {
            scene.Row(row)[i] = static_cast<float>(step(random));
        }
    }
    return scene;
}

// The places of the most important ones by sorting.
std::vector<float> MostImportantPlaces(const RawScene& scene, std::size_t count) {
    const auto importance = [&](std::size_t i) {
        const float opacity = 1.0F / (1.0F + std::exp(-scene.Row(kOpacityRow)[i]));
        const float value = std::exp(scene.Row(kScaleRow + 1)[i]) *
                            std::exp(scene.Row(kScaleRow)[i]) *
                            std::exp(scene.Row(kScaleRow + 2)[i]) * opacity;
        return std::isnan(value) ? -1.0F : value;
    };
    std::vector<std::size_t> order(scene.Count());
    std::iota(order.begin(), order.end(), 0);
    std::ranges::sort(order, [&importance](std::size_t a, std::size_t b) {
        return importance(a) != importance(b) ? importance(a) > importance(b) : a < b;
    });
    order.resize(count);
    std::ranges::sort(order);
    std::vector<float> places;
    for (const std::size_t i : order) places.push_back(scene.Row(0)[i]);
    return places;
}

TEST(Thinning, KeepsWhatSortingFinds) {
    constexpr std::size_t kCount = 5000;
    RawScene scene = WithFewImportances(kCount);
    scene.Row(kOpacityRow)[7] = kNothing;
    scene.Row(kOpacityRow)[8] = kEndless;
    scene.Row(kScaleRow)[9] = -kEndless;
    for (const std::size_t count : {std::size_t{1}, std::size_t{37}, kCount / 2, kCount - 1}) {
        EXPECT_EQ(Places(ThinnedTo(scene, count)), MostImportantPlaces(scene, count)) << count;
    }
}

TEST(Thinning, AllValuesOfAGaussianStayTogether) {
    RawScene scene = Numbered(3, 3);
    scene.Row(kOpacityRow)[1] = -20.0F;
    scene.Row(kScaleRow)[1] = -20.0F;
    const RawScene thinned = ThinnedTo(scene, 2);
    for (std::size_t row = 0; row < RawValues(3); ++row) {
        EXPECT_EQ(thinned.Row(row)[0], 1.0F) << row;
        EXPECT_EQ(thinned.Row(row)[1], 3.0F) << row;
    }
}

TEST(Thinning, MoreThanThereAreIsAll) {
    EXPECT_EQ(Places(ThinnedTo(Numbered(3, 0), 9)), (std::vector{1.0F, 2.0F, 3.0F}));
}

TEST(Thinning, CameraStays) {
    const PhotographCamera camera = {1.0F, 2.0F, 3.0F, 4.0F, 5, 6};
    RawScene scene({2, 0, camera});
    for (std::size_t row = 0; row < kRawValues; ++row) std::fill_n(scene.Row(row), 2, 1.0F);
    EXPECT_EQ(ThinnedTo(scene, 1).Facts().camera->height, 6U);
}

TEST(Thinning, ProductIsCutToAWholeNumber) {
    EXPECT_EQ(ThinnedCount(10, 0.25F), 2U);
    EXPECT_EQ(ThinnedCount(1'179'648, 0.5F), 589'824U);
}

TEST(Thinning, AtLeastOneIsKept) {
    EXPECT_EQ(ThinnedCount(10, 0.01F), 1U);
    EXPECT_EQ(ThinnedCount(10, -3.0F), 1U);
    EXPECT_EQ(ThinnedCount(0, 0.5F), 0U);
}

TEST(Thinning, WholeShareKeepsAll) {
    EXPECT_EQ(ThinnedCount(16'777'217, 1.0F), 16'777'217U);
}

struct Unwritable {
    std::size_t row;
    float value;
};

class UnwritableValues : public testing::TestWithParam<Unwritable> {};

TEST_P(UnwritableValues, GaussianIsLeftOut) {
    RawScene scene = Numbered(3, 1);
    scene.Row(GetParam().row)[1] = GetParam().value;
    LeaveOutUnwritable(scene);
    EXPECT_EQ(Places(scene), (std::vector{1.0F, 3.0F}));
    EXPECT_EQ(scene.Row(RawValues(1) - 1)[1], 3.0F);
}

INSTANTIATE_TEST_SUITE_P(
    Thinning, UnwritableValues,
    testing::Values(Unwritable{kPositionRow + 2, kNothing}, Unwritable{kPositionRow, kEndless},
                    Unwritable{kColorRow + 1, -kEndless}, Unwritable{kOpacityRow, kNothing},
                    Unwritable{kScaleRow + 1, kNothing}, Unwritable{kScaleRow + 2, kEndless},
                    Unwritable{kRotationRow + 3, kNothing},
                    Unwritable{kHarmonicsRow + 8, kEndless}));

TEST(Thinning, RotationOfLengthZeroIsLeftOut) {
    RawScene scene = Numbered(2, 0);
    for (std::size_t k = 0; k < 4; ++k) scene.Row(kRotationRow + k)[0] = 0.0F;
    LeaveOutUnwritable(scene);
    EXPECT_EQ(Places(scene), std::vector{2.0F});
}

TEST(Thinning, InfiniteLogitsAndFlatGaussiansStay) {
    RawScene scene = Numbered(3, 0);
    scene.Row(kOpacityRow)[0] = kEndless;
    scene.Row(kOpacityRow)[1] = -kEndless;
    scene.Row(kScaleRow)[2] = -kEndless;
    LeaveOutUnwritable(scene);
    EXPECT_EQ(scene.Count(), 3U);
}

}  // namespace
}  // namespace vistrel
