// SPDX-License-Identifier: GPL-3.0-or-later
// The floats that arithmetic must survive.
#pragma once

#include <limits>

namespace vistrel::test {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

}  // namespace vistrel::test
