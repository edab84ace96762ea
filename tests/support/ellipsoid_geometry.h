// SPDX-License-Identifier: GPL-3.0-or-later
// Ellipsoids in extended precision: what results are measured by.
#pragma once

#include <array>
#include <cstddef>

#include "engine/gaussian_set.h"

namespace vistrel::test {

using Real = long double;
using Matrix = std::array<std::array<Real, 3>, 3>;  // rows

// The rotation matrix of w, x, y, z, taken as they are, whatever their length.
[[nodiscard]] Matrix RotationOf(const std::array<Real, 4>& quaternion);

[[nodiscard]] std::array<Real, 4> QuaternionAt(const GaussianSet& set, std::size_t i);

// The matrix whose image of the unit ball is Gaussian i, stretched along x, y and z.
[[nodiscard]] Matrix ShapeOf(const GaussianSet& set, std::size_t i,
                             const std::array<Real, 3>& stretch);

// The same for a result: its quaternion is a unit quaternion but for the rounding to floats, which
// readers take out.
[[nodiscard]] Matrix ResultShapeOf(const GaussianSet& set, std::size_t i);

[[nodiscard]] Matrix CovarianceOf(const Matrix& shape);

// The lengths of the axes, longest first, to nearly all digits.
[[nodiscard]] std::array<Real, 3> AxisLengths(Matrix shape);

// The largest difference of two matrices, relative to the largest entry of the first.
[[nodiscard]] Real RelativeDifference(const Matrix& expected, const Matrix& actual);

}  // namespace vistrel::test
