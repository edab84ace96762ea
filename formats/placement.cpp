// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/placement.h"

#include <algorithm>
#include <cmath>

namespace vistrel {
namespace {

// How far a turn's matrix may be from one, for files with numbers in single precision.
constexpr double kTolerance = 1e-4;

// The quaternion w, x, y, z of a rotation, by its largest component.
std::array<double, 4> QuaternionOf(const Matrix3& m) {
    const double trace = m[0] + m[4] + m[8];
    // Squares of w, x, y, z, four times.
    const std::array<double, 4> squares = {1 + trace, 1 + 2 * m[0] - trace, 1 + 2 * m[4] - trace,
                                           1 + 2 * m[8] - trace};
    const auto largest =
        static_cast<std::size_t>(std::ranges::max_element(squares) - squares.begin());
    // Products of the component with each, four times.
    const double wx = m[7] - m[5];
    const double wy = m[2] - m[6];
    const double wz = m[3] - m[1];
    const double xy = m[1] + m[3];
    const double xz = m[2] + m[6];
    const double yz = m[5] + m[7];
    const std::array<std::array<double, 4>, 4> products = {{{squares[0], wx, wy, wz},
                                                            {wx, squares[1], xy, xz},
                                                            {wy, xy, squares[2], yz},
                                                            {wz, xz, yz, squares[3]}}};
    std::array<double, 4> quaternion = products[largest];
    const double length = 2.0 * std::sqrt(squares[largest]);
    for (double& component : quaternion) component /= length;
    return quaternion;
}

std::array<double, 4> Times(const std::array<double, 4>& a, const std::array<double, 4>& b) {
    return {a[0] * b[0] - a[1] * b[1] - a[2] * b[2] - a[3] * b[3],
            a[0] * b[1] + a[1] * b[0] + a[2] * b[3] - a[3] * b[2],
            a[0] * b[2] - a[1] * b[3] + a[2] * b[0] + a[3] * b[1],
            a[0] * b[3] + a[1] * b[2] - a[2] * b[1] + a[3] * b[0]};
}

double Determinant(const Matrix3& m) {
    return m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6]) +
           m[2] * (m[3] * m[7] - m[4] * m[6]);
}

// Whether the columns are at right angles, of length 1, and not mirrored.
bool IsRotationMatrix(const Matrix3& m) {
    for (std::size_t a = 0; a < 3; ++a) {
        for (std::size_t b = a; b < 3; ++b) {
            const double product = m[a] * m[b] + m[3 + a] * m[3 + b] + m[6 + a] * m[6 + b];
            if (!(std::abs(product - (a == b ? 1.0 : 0.0)) < kTolerance)) return false;
        }
    }
    return Determinant(m) > 0.0;
}

}  // namespace

Matrix4 IdentityMatrix() {
    return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
}

Matrix4 Product(const Matrix4& a, const Matrix4& b) {
    Matrix4 product = {};
    for (std::size_t column = 0; column < 4; ++column) {
        for (std::size_t row = 0; row < 4; ++row) {
            for (std::size_t k = 0; k < 4; ++k) {
                product[4 * column + row] += a[4 * k + row] * b[4 * column + k];
            }
        }
    }
    return product;
}

Matrix4 MatrixOf(const std::array<double, 3>& translation, const std::array<double, 4>& rotation,
                 const std::array<double, 3>& scale) {
    const auto [x, y, z, w] = rotation;
    const auto [a, b, c] = scale;
    return {a * (1 - 2 * (y * y + z * z)),
            a * (2 * (x * y + w * z)),
            a * (2 * (x * z - w * y)),
            0,
            b * (2 * (x * y - w * z)),
            b * (1 - 2 * (x * x + z * z)),
            b * (2 * (y * z + w * x)),
            0,
            c * (2 * (x * z + w * y)),
            c * (2 * (y * z - w * x)),
            c * (1 - 2 * (x * x + y * y)),
            0,
            translation[0],
            translation[1],
            translation[2],
            1};
}

std::optional<Placement> Placement::Of(const Matrix4& matrix) {
    const bool isAffine = matrix[3] == 0 && matrix[7] == 0 && matrix[11] == 0 && matrix[15] == 1;
    const bool isFinite = std::ranges::all_of(matrix, [](double m) { return std::isfinite(m); });
    if (!isAffine || !isFinite) return {};
    Placement placement;
    Matrix3& rotation = placement.rotation_;
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            rotation[3 * row + column] = matrix[4 * column + row];
        }
        placement.shift_[row] = matrix[12 + row];
    }
    placement.scale_ = std::cbrt(Determinant(rotation));
    if (!(placement.scale_ > 0.0) || !std::isfinite(placement.scale_)) return {};
    for (double& value : rotation) value /= placement.scale_;
    if (!IsRotationMatrix(rotation)) return {};
    placement.quaternion_ = QuaternionOf(rotation);
    return placement;
}

void Placement::Place(int degree, std::size_t count, std::size_t stride, float* rows) const {
    for (std::size_t i = 0; i < count; ++i) {
        const auto value = [&](std::size_t row) -> float& { return rows[row * stride + i]; };
        const std::array<double, 3> p = {value(0), value(1), value(2)};
        for (std::size_t k = 0; k < 3; ++k) {
            const double turned =
                rotation_[3 * k] * p[0] + rotation_[3 * k + 1] * p[1] + rotation_[3 * k + 2] * p[2];
            value(kPositionRow + k) = static_cast<float>(scale_ * turned + shift_[k]);
            value(kScaleRow + k) += static_cast<float>(std::log(scale_));
        }
        const std::array<double, 4> turned =
            Times(quaternion_, {value(kRotationRow), value(kRotationRow + 1),
                                value(kRotationRow + 2), value(kRotationRow + 3)});
        for (std::size_t k = 0; k < 4; ++k) {
            value(kRotationRow + k) = static_cast<float>(turned[k]);
        }
    }
    if (degree > 0) HarmonicsRotation(rotation_, degree).Turn(count, stride, rows);
}

bool Placement::IsIdentity() const {
    constexpr Matrix3 kIdentity = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    constexpr std::array<double, 3> kNoShift = {};
    return rotation_ == kIdentity && scale_ == 1.0 && shift_ == kNoShift;
}

}  // namespace vistrel
