// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/axis_signs.h"

#include <cstddef>

namespace vistrel {
namespace {

// Which axes a basis function is odd in: it changes its sign with each of them.
struct OddAxes {
    bool x;
    bool y;
    bool z;
};

// Of the basis functions above degree 0, whose polynomials stand behind.
constexpr std::array<OddAxes, HarmonicsCount(kMostHarmonicsDegree) - 1> kOddAxes = {{
    {false, true, false},   // y
    {false, false, true},   // z
    {true, false, false},   // x
    {true, true, false},    // x y
    {false, true, true},    // y z
    {false, false, false},  // 2 z^2 - x^2 - y^2
    {true, false, true},    // x z
    {false, false, false},  // x^2 - y^2
    {false, true, false},   // y (3 x^2 - y^2)
    {true, true, true},     // x y z
    {false, true, false},   // y (4 z^2 - x^2 - y^2)
    {false, false, true},   // z (2 z^2 - 3 x^2 - 3 y^2)
    {true, false, false},   // x (4 z^2 - x^2 - y^2)
    {false, false, true},   // z (x^2 - y^2)
    {true, false, false},   // x (x^2 - 3 y^2)
}};

}  // namespace

RowSigns SignsOfRows(const AxisSigns& axes, int degree) {
    const auto [x, y, z] = axes;
    RowSigns signs;
    signs.fill(1.0F);
    for (std::size_t k = 0; k < 3; ++k) signs[kPositionRow + k] = axes[k];
    // A rotation seen in a mirror turns the other way, except about the axis that is mirrored.
    signs[kRotationRow + 1] = y * z;
    signs[kRotationRow + 2] = x * z;
    signs[kRotationRow + 3] = x * y;
    const std::size_t functions = HarmonicsCount(degree) - 1;
    for (std::size_t i = 0; i < functions; ++i) {
        const auto [oddX, oddY, oddZ] = kOddAxes[i];
        const float sign = (oddX ? x : 1.0F) * (oddY ? y : 1.0F) * (oddZ ? z : 1.0F);
        for (std::size_t c = 0; c < 3; ++c) signs[kHarmonicsRow + c * functions + i] = sign;
    }
    return signs;
}

}  // namespace vistrel
