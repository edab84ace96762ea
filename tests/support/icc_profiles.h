// SPDX-License-Identifier: GPL-3.0-or-later
// Small colour profiles, written byte for byte.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tests/support/plain_colours.h"

namespace vistrel::test {

// What the tag of a curve holds.
[[nodiscard]] std::string IccPower(double gamma);
[[nodiscard]] std::string IccSrgbCurve();

[[nodiscard]] std::string IccOfDisplay(const PlainPrimaries& primaries, const std::string& curve);
[[nodiscard]] std::string IccOfGrey(const std::string& curve);

// A colour of CIE Lab in 8 bits: lightness / 100 x 255, a + 128, b + 128.
using IccLab = std::string;

// Profiles of nothing but a table, with a Lab colour for each corner, the last channel the fastest:
// 8 for RGB, 16 for CMYK.
[[nodiscard]] std::string IccTable(const std::string& space, const std::vector<IccLab>& corners);

[[nodiscard]] std::vector<std::byte> ToBytes(const std::string& text);

}  // namespace vistrel::test
