// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/depth_order.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <random>
#include <utility>
#include <vector>

namespace vistrel {
namespace {

std::vector<std::uint32_t> Sorted(const std::vector<float>& depths) {
    std::vector<SplatLook> looks(depths.size());
    for (std::size_t i = 0; i < depths.size(); ++i) looks[i].depth = depths[i];
    std::vector<std::uint16_t> places(depths.size());
    std::iota(places.begin(), places.end(), std::uint16_t{0});
    DepthOrder order;
    order.Begin(depths.size());
    order.Add(0, places, looks.data());
    const auto sorted = order.Sort(looks.data());
    return {sorted.begin(), sorted.end()};
}

std::vector<std::uint32_t> PlainlySorted(const std::vector<float>& depths) {
    std::vector<std::uint32_t> indices(depths.size());
    std::iota(indices.begin(), indices.end(), 0U);
    std::ranges::sort(indices, {}, [&](std::uint32_t i) { return std::pair(depths[i], i); });
    return indices;
}

std::vector<float> RandomDepths(std::size_t count) {
    std::mt19937 random(3);
    std::uniform_real_distribution<float> depth(2.0F, 2.5F);
    std::vector<float> depths(count);
    for (float& value : depths) value = depth(random);
    return depths;
}

TEST(DepthOrder, NothingIsOrderedAsNothing) {
    EXPECT_TRUE(Sorted({}).empty());
}

TEST(DepthOrder, FewAreOrderedByDepth) {
    EXPECT_EQ(Sorted({3, 1, 2}), (std::vector<std::uint32_t>{1, 2, 0}));
}

TEST(DepthOrder, ManyAreOrderedByDepth) {
    const std::vector<float> depths = RandomDepths(5000);
    EXPECT_EQ(Sorted(depths), PlainlySorted(depths));
}

TEST(DepthOrder, EqualDepthsKeepTheirOrder) {
    for (const std::size_t count : {std::size_t{10}, std::size_t{1000}}) {
        std::vector<float> depths(count, 2.0F);
        depths[count / 2] = 1.0F;
        EXPECT_EQ(Sorted(depths), PlainlySorted(depths)) << count;
    }
}

TEST(DepthOrder, FromTheNearestToTheFarthestNumber) {
    std::vector<float> depths = RandomDepths(1000);
    depths[500] = 3e38F;
    depths[501] = 0.01F;
    const std::vector<std::uint32_t> sorted = Sorted(depths);
    EXPECT_EQ(sorted.front(), 501U);
    EXPECT_EQ(sorted.back(), 500U);
    for (std::size_t i = 2; i + 1 < sorted.size(); ++i) {
        // Over such a range neighbours may be mistaken for equal.
        EXPECT_LE(depths[sorted[i - 1]], depths[sorted[i]] * 1.0001F);
    }
}

TEST(DepthOrder, PiecesFollowEachOther) {
    std::vector<SplatLook> looks(6);
    for (SplatLook& look : looks) look.depth = 1.0F;
    looks[5].depth = 0.5F;
    DepthOrder order;
    order.Begin(4);
    order.Add(0, std::vector<std::uint16_t>{1, 2}, looks.data());
    order.Add(3, std::vector<std::uint16_t>{0, 2}, looks.data());
    const auto sorted = order.Sort(looks.data());
    EXPECT_EQ(std::vector(sorted.begin(), sorted.end()), (std::vector<std::uint32_t>{5, 1, 2, 3}));
}

}  // namespace
}  // namespace vistrel
