// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/decimation.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

#include "tests/support/plain_splat_ply.h"
#include "tests/support/special_floats.h"
#include "tests/support/synthetic_gaussians.h"

namespace vistrel {
namespace {

using test::kInfinity;
using test::kNaN;

// Gaussians of these importances: unit scales, the importance as opacity.
GaussianSet WithImportances(AttributeValues importances) {
    GaussianSet set;
    set.count = static_cast<std::int32_t>(importances.size());
    set.scales = {AttributeValues(3 * importances.size(), 1.0F), set.count, 3};
    set.opacities = {std::move(importances), set.count, 1};
    return set;
}

using Indices = std::vector<std::int32_t>;

TEST(DecimatedCount, ProductIsCutToAWholeNumber) {
    EXPECT_EQ(DecimatedCount(10, 0.25F), 2);
    EXPECT_EQ(DecimatedCount(1'179'648, 0.5F), 589'824);
}

TEST(DecimatedCount, AtLeastOneIsKept) {
    EXPECT_EQ(DecimatedCount(10, 0.0F), 1);
    EXPECT_EQ(DecimatedCount(10, 0.01F), 1);
    EXPECT_EQ(DecimatedCount(10, -3.0F), 1);
    EXPECT_EQ(DecimatedCount(10, -kInfinity), 1);
}

TEST(DecimatedCount, NothingIsKeptOfNothing) {
    EXPECT_EQ(DecimatedCount(0, 0.5F), 0);
    EXPECT_EQ(DecimatedCount(0, 0.0F), 0);
    EXPECT_EQ(DecimatedCount(0, -kInfinity), 0);
}

// A count above 2^24 is rounded when it becomes a float.
TEST(DecimatedCount, NeverMoreThanThereAre) {
    const float almostOne = 0.99999994F;
    for (const std::int32_t count : {1, 2, 16'777'217, 16'777'219, 33'554'435, 2'147'483'647}) {
        EXPECT_LE(DecimatedCount(count, almostOne), count);
    }
}

TEST(MostImportant, LargestAreKeptInTheirOldOrder) {
    const GaussianSet set = WithImportances({1, 9, 2, 3, 8, 0.5F, 4, 5, 6, 7});
    EXPECT_EQ(MostImportant(set, 2), (Indices{1, 4}));
    EXPECT_EQ(MostImportant(set, 3), (Indices{1, 4, 9}));
}

TEST(MostImportant, ImportanceIsVolumeTimesOpacity) {
    GaussianSet set = WithImportances({1.0F, 0.5F, 0.1F});
    set.scales.data = {1, 1, 1, 2, 1, 2, 1, 5, 3};  // importances 1, 2 and 1.5
    EXPECT_EQ(MostImportant(set, 1), (Indices{1}));
    EXPECT_EQ(MostImportant(set, 2), (Indices{1, 2}));
}

// 1e25 (scale_y) times 1e25 (scale_x) overflows before the small scale_z can bring it back.
TEST(MostImportant, ProductIsTakenFromTheFirstScalesOn) {
    GaussianSet set = WithImportances({1.0F, 1.0F});
    set.scales.data = {1e25F, 1e25F, 1e-30F, 1e10F, 1e10F, 1e10F};
    EXPECT_EQ(MostImportant(set, 1), (Indices{0}));
}

TEST(MostImportant, FirstOfEqualsAreKept) {
    EXPECT_EQ(MostImportant(WithImportances({3, 5, 3, 3, 5}), 3), (Indices{0, 1, 4}));
    EXPECT_EQ(MostImportant(WithImportances({-0.0F, 0.0F, -0.0F}), 2), (Indices{0, 1}));
}

TEST(MostImportant, NoNumberIsTheLeastImportance) {
    const GaussianSet set = WithImportances({kNaN, -kInfinity, -kNaN, -1.0F, kInfinity});
    EXPECT_EQ(MostImportant(set, 1), (Indices{4}));
    EXPECT_EQ(MostImportant(set, 2), (Indices{3, 4}));
    EXPECT_EQ(MostImportant(set, 3), (Indices{1, 3, 4}));
    EXPECT_EQ(MostImportant(set, 4), (Indices{0, 1, 3, 4}));
}

TEST(MostImportant, AllOrNone) {
    const GaussianSet set = WithImportances({kNaN, 2, 1});
    EXPECT_EQ(MostImportant(set, 3), (Indices{0, 1, 2}));
    EXPECT_EQ(MostImportant(set, 0), Indices());
    EXPECT_EQ(MostImportant(WithImportances({}), 0), Indices());
}

TEST(MostImportant, SameChoiceAsSorting) {
    GaussianSet set = test::SyntheticGaussians(20'000);
    for (std::size_t i = 0; i < set.opacities.data.size(); i += 50) {
        set.opacities.data[i] = kNaN;
        set.opacities.data[i + 1] = set.opacities.data[i + 2];
        set.scales.data[3 * i + 4] *= -1.0F;
    }
    for (const float ratio : {0.0F, 1e-4F, 0.01F, 0.25F, 0.5F, 0.9F, 0.985F, 0.9999F}) {
        EXPECT_EQ(MostImportant(set, DecimatedCount(set.count, ratio)),
                  test::PlainKeptIndices(set, ratio))
            << ratio;
    }
}

}  // namespace
}  // namespace vistrel
