// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/placement.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

#include "tests/formats/scene_files.h"

namespace vistrel {
namespace {

using Vector = std::array<double, 3>;

// A quarter turn about each axis of the first three, and odd turns.
constexpr std::array<std::array<double, 4>, 6> kRotations = {{{M_SQRT1_2, 0, 0, M_SQRT1_2},
                                                              {0, -M_SQRT1_2, 0, M_SQRT1_2},
                                                              {0, 0, 1, 0},
                                                              {0.1, -0.7, 0.1, 0.7},
                                                              {0.5, 0.5, -0.5, 0.5},
                                                              {-0.9, 0.3, 0.3, 0.1}}};

Vector Applied(const Matrix4& m, const Vector& v) {
    Vector moved;
    for (std::size_t row = 0; row < 3; ++row) {
        moved[row] = m[row] * v[0] + m[4 + row] * v[1] + m[8 + row] * v[2] + m[12 + row];
    }
    return moved;
}

// A Gaussian's own axis k at its length, in the scene.
Vector OwnAxis(const RawScene& scene, std::size_t k) {
    const auto value = [&](std::size_t row) { return static_cast<double>(scene.Row(row)[0]); };
    std::array<double, 4> q = {value(kRotationRow + 1), value(kRotationRow + 2),
                               value(kRotationRow + 3), value(kRotationRow)};
    const double length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    for (double& component : q) component /= length;
    Vector axis = {};
    axis[k] = std::exp(value(kScaleRow + k));
    return Applied(MatrixOf({}, q, {1, 1, 1}), axis);
}

class Placements : public testing::TestWithParam<std::array<double, 4>> {};

TEST_P(Placements, GaussiansMoveAsPointsDo) {
    const Matrix4 matrix = MatrixOf({1.0, -2.0, 0.5}, GetParam(), {3.0, 3.0, 3.0});
    const auto placement = Placement::Of(matrix);
    ASSERT_TRUE(placement);
    const RawScene still = test::VariedScene(1, 0);
    const RawScene placed = test::VariedScene(1, 0);
    placement->Place(0, 1, 32, placed.Row(0));
    const Vector position = Applied(matrix, {still.Row(0)[0], still.Row(1)[0], still.Row(2)[0]});
    const Vector origin = Applied(matrix, {});
    for (std::size_t k = 0; k < 3; ++k) {
        EXPECT_NEAR(placed.Row(k)[0], position[k], 1e-5);
        const Vector expected = Applied(matrix, OwnAxis(still, k));
        const Vector axis = OwnAxis(placed, k);
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_NEAR(axis[i], expected[i] - origin[i], 1e-6) << k;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Placement, Placements, testing::ValuesIn(kRotations));

TEST(Placement, NothingMovedIsIdentity) {
    EXPECT_TRUE(Placement::Of(IdentityMatrix())->IsIdentity());
    EXPECT_FALSE(Placement::Of(MatrixOf({1, 0, 0}, {0, 0, 0, 1}, {1, 1, 1}))->IsIdentity());
}

TEST(Placement, ProductsApplyTheRightOneFirst) {
    const Matrix4 shift = MatrixOf({1, 0, 0}, {0, 0, 0, 1}, {1, 1, 1});
    const Matrix4 scale = MatrixOf({}, {0, 0, 0, 1}, {2, 2, 2});
    EXPECT_EQ(Applied(Product(scale, shift), {}), (Vector{2, 0, 0}));
}

TEST(Placement, UnevenScalesMirrorsAndShearAreNone) {
    constexpr std::array<double, 4> kUnturned = {0, 0, 0, 1};
    EXPECT_FALSE(Placement::Of(MatrixOf({}, kUnturned, {1, 1, 1.01})));
    EXPECT_FALSE(Placement::Of(MatrixOf({}, kUnturned, {-1, 1, 1})));
    EXPECT_FALSE(Placement::Of(MatrixOf({}, kUnturned, {-1, -1, -1})));
    EXPECT_FALSE(Placement::Of(MatrixOf({}, kUnturned, {0, 0, 0})));
    Matrix4 shear = IdentityMatrix();
    shear[4] = 0.1;
    EXPECT_FALSE(Placement::Of(shear));
    Matrix4 perspective = IdentityMatrix();
    perspective[3] = 0.1;
    EXPECT_FALSE(Placement::Of(perspective));
}

TEST(Placement, NumbersThatAreNotFiniteAreNone) {
    Matrix4 matrix = IdentityMatrix();
    matrix[12] = std::numeric_limits<double>::infinity();
    EXPECT_FALSE(Placement::Of(matrix));
    matrix = IdentityMatrix();
    matrix[5] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(Placement::Of(matrix));
}

}  // namespace
}  // namespace vistrel
