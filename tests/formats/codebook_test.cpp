// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/codebook.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <random>
#include <vector>

namespace vistrel {
namespace {

std::vector<float> BellShaped(std::size_t count) {
    std::mt19937 random(1);
    std::vector<float> values(count);
    // The sum of twelve equal distributions is near a normal one, and the same everywhere.
    std::ranges::generate(values, [&] {
        float sum = -6.0F;
        for (int i = 0; i < 12; ++i) sum += static_cast<float>(random() >> 8U) / 16777216.0F;
        return sum;
    });
    return values;
}

TEST(Codebook, FewValuesAreKept) {
    const std::vector<float> values = {3.0F, -1.5F, 3.0F, 0.25F};
    const Codebook codebook({values});
    for (const float value : values) {
        EXPECT_EQ(codebook.Entries()[codebook.Nearest(value)], value);
    }
    EXPECT_EQ(codebook.Entries().back(), 3.0F);
}

TEST(Codebook, EveryValueGetsTheEntryNextToIt) {
    const std::vector<float> values = BellShaped(20000);
    const Codebook codebook({values});
    ASSERT_TRUE(std::ranges::is_sorted(codebook.Entries()));
    for (const float value : values) {
        const float error = std::abs(codebook.Entries()[codebook.Nearest(value)] - value);
        for (const float entry : codebook.Entries()) {
            ASSERT_LE(error, std::abs(entry - value) * 1.0001F);
        }
    }
}

TEST(Codebook, ErrorsAreSmallerThanThoseOfEqualSteps) {
    const std::vector<float> values = BellShaped(100000);
    const Codebook codebook({values});
    const auto [least, greatest] = std::ranges::minmax(values);
    const double step = (greatest - least) / 255.0;
    double squares = 0.0;
    for (const float value : values) {
        squares += std::pow(codebook.Entries()[codebook.Nearest(value)] - value, 2);
    }
    EXPECT_LT(squares / static_cast<double>(values.size()), 0.75 * step * step / 12.0);
}

TEST(Codebook, RareValuesFarAwayKeepAnEntry) {
    std::vector<float> values = BellShaped(20000);
    values.push_back(50.0F);
    const Codebook codebook({values});
    EXPECT_NEAR(codebook.Entries()[codebook.Nearest(50.0F)], 50.0F, 0.1F);
}

TEST(Codebook, ValuesBelowTheLeastCountAsThat) {
    constexpr float kMinusInfinity = -std::numeric_limits<float>::infinity();
    std::vector<float> values = BellShaped(2000);
    values.push_back(kMinusInfinity);
    const Codebook codebook({values}, -30.0F);
    EXPECT_NEAR(codebook.Entries()[codebook.Nearest(kMinusInfinity)], -30.0F, 0.01F);
}

TEST(Codebook, GreatestAndLeastFloatsHaveTheirPlaces) {
    constexpr float kMost = std::numeric_limits<float>::max();
    std::vector<float> values = BellShaped(2000);
    values.insert(values.end(), {-kMost, kMost});
    const Codebook codebook({values});
    EXPECT_GT(codebook.Nearest(kMost), codebook.Nearest(-kMost));
}

TEST(Codebook, ZeroIsKeptOnWish) {
    Codebook codebook({BellShaped(2000)});
    codebook.KeepZero();
    EXPECT_EQ(codebook.Entries()[codebook.Nearest(0.0F)], 0.0F);
}

}  // namespace
}  // namespace vistrel
