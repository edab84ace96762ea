// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/ellipsoid_geometry.h"

#include <algorithm>
#include <cmath>

namespace vistrel::test {
namespace {

// Turns two columns until they are orthogonal.
void OrthogonalisePair(Matrix& m, std::size_t p, std::size_t q) {
    Real pp = 0;
    Real qq = 0;
    Real pq = 0;
    for (const auto& row : m) {
        pp += row[p] * row[p];
        qq += row[q] * row[q];
        pq += row[p] * row[q];
    }
    if (pq == 0) return;
    const Real angle = 0.5L * std::atan2(2 * pq, pp - qq);
    for (auto& row : m) {
        const Real first = row[p];
        row[p] = std::cos(angle) * first + std::sin(angle) * row[q];
        row[q] = std::cos(angle) * row[q] - std::sin(angle) * first;
    }
}

}  // namespace

Matrix RotationOf(const std::array<Real, 4>& q) {
    const auto [w, x, y, z] = q;
    return {{{1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y)},
             {2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x)},
             {2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y)}}};
}

std::array<Real, 4> QuaternionAt(const GaussianSet& set, std::size_t i) {
    const float* q = &set.quaternions.data[4 * i];
    return {q[0], q[1], q[2], q[3]};
}

Matrix ShapeOf(const GaussianSet& set, std::size_t i, const std::array<Real, 3>& stretch) {
    Matrix shape = RotationOf(QuaternionAt(set, i));
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            shape[row][column] *= stretch[row] * set.scales.data[3 * i + column];
        }
    }
    return shape;
}

Matrix ResultShapeOf(const GaussianSet& set, std::size_t i) {
    std::array<Real, 4> q = QuaternionAt(set, i);
    const Real length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    for (Real& value : q) value /= length;
    Matrix shape = RotationOf(q);
    for (auto& row : shape) {
        for (std::size_t column = 0; column < 3; ++column) {
            row[column] *= set.scales.data[3 * i + column];
        }
    }
    return shape;
}

Matrix CovarianceOf(const Matrix& shape) {
    Matrix covariance{};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            for (std::size_t k = 0; k < 3; ++k) {
                covariance[row][column] += shape[row][k] * shape[column][k];
            }
        }
    }
    return covariance;
}

std::array<Real, 3> AxisLengths(Matrix shape) {
    for (int sweep = 0; sweep < 12; ++sweep) {
        OrthogonalisePair(shape, 0, 1);
        OrthogonalisePair(shape, 0, 2);
        OrthogonalisePair(shape, 1, 2);
    }
    std::array<Real, 3> lengths{};
    for (std::size_t k = 0; k < 3; ++k) {
        lengths[k] = std::hypot(shape[0][k], shape[1][k], shape[2][k]);
    }
    std::sort(lengths.rbegin(), lengths.rend());
    return lengths;
}

Real RelativeDifference(const Matrix& expected, const Matrix& actual) {
    Real largest = 0;
    Real difference = 0;
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            largest = std::max(largest, std::abs(expected[row][column]));
            difference =
                std::max(difference, std::abs(expected[row][column] - actual[row][column]));
        }
    }
    return largest == 0 ? difference : difference / largest;
}

}  // namespace vistrel::test
