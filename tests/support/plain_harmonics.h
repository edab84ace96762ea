// SPDX-License-Identifier: GPL-3.0-or-later
// Real spherical harmonics, written plainly.
#pragma once

#include <array>

namespace vistrel::test {

// Y_lm with the Condon-Shortley phase for the direction, which has length 1: degrees l from 0 to 3,
// m from -l to l each.
[[nodiscard]] std::array<double, 16> PlainHarmonics(double x, double y, double z);

}  // namespace vistrel::test
