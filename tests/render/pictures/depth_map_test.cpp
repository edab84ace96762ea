// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/pictures/depth_map.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

namespace vistrel {
namespace {

using Values = std::vector<std::uint16_t>;

TEST(DepthMap, NearIsBrightAndNothingIsZero) {
    const DepthMap map = DepthMapOf(std::array{0.0F, 0.2F, 0.6F, 1.0F}, 2, 2);
    EXPECT_EQ(map.picture.width, 2);
    EXPECT_EQ(map.picture.height, 2);
    EXPECT_EQ(map.picture.values, (Values{0, 1, 32768, 65535}));
}

TEST(DepthMap, ScaleGivesTheDepthsBack) {
    const std::array inverse = {0.031F, 0.2F, 0.77F, 4.9F};
    const DepthMap map = DepthMapOf(inverse, 4, 1);
    for (std::size_t i = 0; i < inverse.size(); ++i) {
        EXPECT_NEAR(map.offset + map.step * map.picture.values[i], inverse[i], 0.51 * map.step);
    }
}

TEST(DepthMap, OfNothing) {
    EXPECT_EQ(DepthMapOf(std::array{0.0F, 0.0F}, 2, 1).picture.values, (Values{0, 0}));
}

TEST(DepthMap, OfOneDepth) {
    const DepthMap map = DepthMapOf(std::array{0.5F, 0.0F, 0.5F}, 3, 1);
    EXPECT_EQ(map.picture.values, (Values{1, 0, 1}));
    EXPECT_NEAR(map.offset + map.step, 0.5, 1e-6);
}

TEST(DepthMap, SinglePixelsDoNotTakeTheRangeFromTheOthers) {
    std::vector<float> inverse(5000, 0.5F);
    std::fill_n(inverse.begin(), 2500, 0.25F);
    inverse[7] = 90.0F;
    inverse[4000] = 0.0001F;
    const DepthMap map = DepthMapOf(inverse, 100, 50);
    EXPECT_EQ(map.picture.values[7], 65535);
    EXPECT_EQ(map.picture.values[4999], 65535);
    EXPECT_EQ(map.picture.values[0], 1);
    EXPECT_EQ(map.picture.values[4000], 1);
}

}  // namespace
}  // namespace vistrel
