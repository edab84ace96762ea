// SPDX-License-Identifier: GPL-3.0-or-later
//
// The factor between a function before and one afterwards is the integral of their product over the
// sphere. Both are polynomials of degree 3 at the most, so that a sum over few directions gives it:
// along z those of Gauss and Legendre, about it equal steps.
#include "formats/harmonics_rotation.h"

#include <cmath>

namespace vistrel {
namespace {

constexpr std::size_t kBasisFunctions = HarmonicsCount(kMostHarmonicsDegree);
using BasisValues = std::array<double, kBasisFunctions>;
using Direction = std::array<double, 3>;

// In the order and with the signs of RawScene's coefficients.
BasisValues BasisAt(const Direction& direction) {
    const auto [x, y, z] = direction;
    const double xx = x * x;
    const double yy = y * y;
    const double zz = z * z;
    constexpr double kDegree1 = 0.4886025119029199;
    return {0.2820947917738781,
            -kDegree1 * y,
            kDegree1 * z,
            -kDegree1 * x,
            1.0925484305920792 * x * y,
            -1.0925484305920792 * y * z,
            0.31539156525252005 * (2 * zz - xx - yy),
            -1.0925484305920792 * x * z,
            0.5462742152960396 * (xx - yy),
            -0.5900435899266435 * y * (3 * xx - yy),
            2.890611442640554 * x * y * z,
            -0.4570457994644658 * y * (4 * zz - xx - yy),
            0.3731763325901154 * z * (2 * zz - 3 * xx - 3 * yy),
            -0.4570457994644658 * x * (4 * zz - xx - yy),
            1.445305721320277 * z * (xx - yy),
            -0.5900435899266435 * x * (xx - 3 * yy)};
}

struct Node {
    double height;
    double weight;
};
constexpr std::array<Node, 4> kHeights = {{{-0.8611363115940526, 0.3478548451374538},
                                           {-0.3399810435848563, 0.6521451548625461},
                                           {0.3399810435848563, 0.6521451548625461},
                                           {0.8611363115940526, 0.3478548451374538}}};
constexpr int kAround = 8;

// Where a direction afterwards was before.
Direction Before(const Matrix3& rotation, const Direction& d) {
    Direction before;
    for (std::size_t k = 0; k < 3; ++k) {
        before[k] = rotation[k] * d[0] + rotation[3 + k] * d[1] + rotation[6 + k] * d[2];
    }
    return before;
}

float Cleaned(double factor) {
    constexpr double kNear = 1e-7;
    const double whole = std::round(factor);
    return static_cast<float>(std::abs(factor - whole) < kNear ? whole : factor);
}

std::size_t DegreeOf(std::size_t function) {
    std::size_t degree = 0;
    while (HarmonicsCount(static_cast<int>(degree)) <= function) ++degree;
    return degree;
}

}  // namespace

HarmonicsRotation::HarmonicsRotation(const Matrix3& rotation, int degree) : degree_(degree) {
    std::array<BasisValues, kBasisFunctions> sums = {};
    for (const auto [height, weight] : kHeights) {
        for (int step = 0; step < kAround; ++step) {
            const double angle = 2.0 * M_PI * step / kAround;
            const double radius = std::sqrt(1.0 - height * height);
            const Direction direction = {radius * std::cos(angle), radius * std::sin(angle),
                                         height};
            const BasisValues after = BasisAt(direction);
            const BasisValues before = BasisAt(Before(rotation, direction));
            for (std::size_t to = 0; to < kBasisFunctions; ++to) {
                for (std::size_t from = 0; from < kBasisFunctions; ++from) {
                    sums[to][from] += weight * (2.0 * M_PI / kAround) * after[to] * before[from];
                }
            }
        }
    }
    for (std::size_t to = 0; to < kBasisFunctions; ++to) {
        for (std::size_t from = 0; from < kBasisFunctions; ++from) {
            if (DegreeOf(to) == DegreeOf(from)) factors_[to][from] = Cleaned(sums[to][from]);
        }
    }
}

void HarmonicsRotation::Turn(std::size_t count, std::size_t stride, float* rows) const {
    const std::size_t functions = HarmonicsCount(degree_) - 1;
    for (std::size_t channel = 0; channel < 3; ++channel) {
        float* const first = rows + (kHarmonicsRow + channel * functions) * stride;
        for (std::size_t i = 0; i < count; ++i) {
            std::array<float, kBasisFunctions> before = {};
            for (std::size_t k = 0; k < functions; ++k) before[k] = first[k * stride + i];
            for (std::size_t to = 0; to < functions; ++to) {
                float sum = 0.0F;
                for (std::size_t from = 0; from < functions; ++from) {
                    const float factor = factors_[to + 1][from + 1];
                    // So that an infinity reaches only what it belongs to.
                    if (factor != 0.0F) sum += factor * before[from];
                }
                first[to * stride + i] = sum;
            }
        }
    }
}

}  // namespace vistrel
