// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/axis_signs.h"

#include <gtest/gtest.h>

#include <cstddef>

#include "tests/support/plain_harmonics.h"

namespace vistrel {
namespace {

class EveryAxis : public testing::TestWithParam<std::size_t> {
  protected:
    EveryAxis() { axes_[GetParam()] = -1.0F; }

    AxisSigns axes_ = {1.0F, 1.0F, 1.0F};
};

// A colour seen along a direction is that of the changed harmonics along the changed direction.
TEST_P(EveryAxis, HarmonicsFollow) {
    const auto before = test::PlainHarmonics(0.48, 0.6, 0.64);
    const auto after = test::PlainHarmonics(0.48 * axes_[0], 0.6 * axes_[1], 0.64 * axes_[2]);
    for (int degree = 1; degree <= kMostHarmonicsDegree; ++degree) {
        const RowSigns signs = SignsOfRows(axes_, degree);
        const std::size_t functions = HarmonicsCount(degree) - 1;
        for (std::size_t row = kHarmonicsRow; row < RawValues(degree); ++row) {
            const std::size_t function = 1 + (row - kHarmonicsRow) % functions;
            EXPECT_NEAR(before[function] * signs[row], after[function], 1e-12) << degree << row;
        }
    }
}

TEST_P(EveryAxis, PositionFollowsAndTheRestStays) {
    const RowSigns signs = SignsOfRows(axes_, 0);
    for (std::size_t k = 0; k < 3; ++k) EXPECT_EQ(signs[kPositionRow + k], axes_[k]);
    for (std::size_t row = kColorRow; row <= kRotationRow; ++row) EXPECT_EQ(signs[row], 1.0F);
}

// In a mirror, only the turn about the mirrored axis keeps its direction.
TEST_P(EveryAxis, OtherRotationsTurnTheOtherWay) {
    const RowSigns signs = SignsOfRows(axes_, 0);
    for (std::size_t k = 0; k < 3; ++k) {
        EXPECT_EQ(signs[kRotationRow + 1 + k], k == GetParam() ? 1.0F : -1.0F) << k;
    }
}

INSTANTIATE_TEST_SUITE_P(AxisSigns, EveryAxis, testing::Values(0, 1, 2));

}  // namespace
}  // namespace vistrel
