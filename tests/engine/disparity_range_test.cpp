// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/disparity_range.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <span>
#include <vector>

#include "tests/support/plain_splat_ply.h"
#include "tests/support/special_floats.h"

namespace vistrel {
namespace {

using test::kInfinity;
using test::kNaN;

// Means at these depths; x and y would spoil the result if they were taken for depths.
std::vector<float> AtDepths(const std::vector<float>& depths) {
    std::vector<float> means;
    for (const float z : depths) means.insert(means.end(), {1234.5F, 0.001F, z});
    return means;
}

DisparityRange Counted(const std::vector<float>& depths) {
    const std::vector<float> means = AtDepths(depths);
    DisparityPercentiles percentiles;
    percentiles.Count(means);
    percentiles.EndFirstLook();
    percentiles.CountAgain(means);
    return percentiles.Range();
}

DisparityRange Sorted(std::vector<float> depths) {
    std::erase_if(depths, [](float z) { return !(z > 1e-6F); });
    return test::PlainDisparityRange(std::move(depths));
}

void ExpectSameBits(const DisparityRange& range, const DisparityRange& expected) {
    EXPECT_EQ(std::bit_cast<std::uint32_t>(range.low), std::bit_cast<std::uint32_t>(expected.low));
    EXPECT_EQ(std::bit_cast<std::uint32_t>(range.high),
              std::bit_cast<std::uint32_t>(expected.high));
}

TEST(DisparityRange, NoGaussianGivesZeroToOne) {
    ExpectSameBits(Counted({}), {0.0F, 1.0F});
}

TEST(DisparityRange, NothingInFrontOfTheCameraGivesZeroToOne) {
    ExpectSameBits(Counted({1e-6F, 0.0F, -0.0F, -5.0F, 1e-40F, kNaN, -kNaN, -kInfinity}),
                   {0.0F, 1.0F});
}

TEST(DisparityRange, DepthJustBeyondTheNearestCounts) {
    const float z = std::nextafter(1e-6F, 1.0F);
    ExpectSameBits(Counted({1e-6F, z}), {1.0F / z, 1.0F / z});
}

TEST(DisparityRange, TenDepthsGiveTheSecondAndTheLast) {
    const std::vector<float> depths = {4, 1, 10, 2, 9, 3, 8, 5, 7, 6};
    ExpectSameBits(Counted(depths), {1.0F / 9.0F, 1.0F});
}

TEST(DisparityRange, SingleDepthIsBothEnds) {
    ExpectSameBits(Counted({4.0F}), {0.25F, 0.25F});
}

TEST(DisparityRange, InfiniteDepthHasNoDisparity) {
    ExpectSameBits(Counted({kInfinity, kInfinity, kInfinity}), {0.0F, 0.0F});
    ExpectSameBits(Counted({kInfinity, 2.0F, kNaN}), {0.0F, 0.5F});
}

TEST(DisparityRange, LargestDepthsHaveDenormalDisparities) {
    constexpr float kLargest = std::numeric_limits<float>::max();
    ExpectSameBits(Counted({kLargest, kLargest}), {1.0F / kLargest, 1.0F / kLargest});
}

// At a multiple of ten the rank depends on how 0.1 and 0.9 and the products are rounded.
TEST(DisparityRange, EveryCountPicksTheElementsThatSortingGives) {
    std::mt19937 random(3);
    std::uniform_real_distribution<float> depth(0.5F, 50.0F);
    std::vector<float> depths;
    for (int count = 1; count <= 300; ++count) {
        depths.push_back(depth(random));
        SCOPED_TRACE(count);
        ExpectSameBits(Counted(depths), Sorted(depths));
    }
}

TEST(DisparityRange, ManyDepthsGiveWhatSortingGives) {
    std::mt19937 random(4);
    std::lognormal_distribution<float> depth(1.0F, 2.0F);
    std::vector<float> depths(200'000);
    std::ranges::generate(depths, [&] { return depth(random); });
    for (std::size_t i = 0; i < depths.size(); i += 7) depths[i] = -depths[i];
    for (std::size_t i = 0; i < depths.size(); i += 11) depths[i] = kNaN;
    ExpectSameBits(Counted(depths), Sorted(depths));
}

TEST(DisparityRange, DepthsThatDifferInTheLastPlaceOnly) {
    std::vector<float> depths;
    for (std::uint32_t step = 0; step < 1000; ++step) {
        depths.push_back(std::bit_cast<float>(0x40000000U + step * 7919 % 1000));
    }
    ExpectSameBits(Counted(depths), Sorted(depths));
}

TEST(DisparityRange, EqualDepths) {
    ExpectSameBits(Counted(std::vector<float>(1000, 3.0F)), {1.0F / 3.0F, 1.0F / 3.0F});
}

TEST(DisparityRange, PiecesAreTheSameAsTheWhole) {
    std::vector<float> depths;
    for (int i = 1; i <= 100; ++i) depths.push_back(static_cast<float>(i));
    const std::vector<float> means = AtDepths(depths);
    const auto first = std::span(means).first(3 * 33);
    const auto second = std::span(means).subspan(3 * 33);
    DisparityPercentiles percentiles;
    percentiles.Count(first);
    percentiles.Count(second);
    percentiles.EndFirstLook();
    percentiles.CountAgain(second);
    percentiles.CountAgain(first);
    ExpectSameBits(percentiles.Range(), Sorted(depths));
}

}  // namespace
}  // namespace vistrel
