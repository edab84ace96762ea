// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/plain_harmonics.h"

#include <cmath>
#include <cstddef>
#include <cstdlib>

namespace vistrel::test {

// The associated Legendre functions and factors, from their definitions.
std::array<double, 16> PlainHarmonics(double x, double y, double z) {
    const double cosine = z;
    const double longitude = std::atan2(y, x);
    std::array<double, 16> basis{};
    std::size_t next = 0;
    for (int l = 0; l <= 3; ++l) {
        for (int m = -l; m <= l; ++m) {
            const auto order = static_cast<unsigned>(std::abs(m));
            double factor = static_cast<double>(2 * l + 1) / (4.0 * M_PI);
            for (int i = l - std::abs(m) + 1; i <= l + std::abs(m); ++i) factor /= i;
            const double sign = order % 2 == 0 ? 1.0 : -1.0;  // std::assoc_legendre has no phase
            const double legendre =
                sign * std::assoc_legendre(static_cast<unsigned>(l), order, cosine);
            const double around = m < 0   ? std::sqrt(2.0) * std::sin(order * longitude)
                                  : m > 0 ? std::sqrt(2.0) * std::cos(order * longitude)
                                          : 1.0;
            basis[next++] = std::sqrt(factor) * legendre * around;
        }
    }
    return basis;
}

}  // namespace vistrel::test
