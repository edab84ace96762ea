// SPDX-License-Identifier: GPL-3.0-or-later
// Colours converted the plain way, in double precision from the definitions of the colour spaces.
#pragma once

#include <array>
#include <cstdint>
#include <functional>

namespace vistrel::test {

// CIE x and y of white, red, green and blue.
using PlainPrimaries = std::array<double, 8>;

inline constexpr PlainPrimaries kPlainSrgb = {0.3127, 0.3290, 0.64, 0.33, 0.30, 0.60, 0.15, 0.06};
inline constexpr PlainPrimaries kPlainP3 = {0.3127, 0.3290, 0.68, 0.32, 0.265, 0.69, 0.15, 0.06};
inline constexpr PlainPrimaries kPlainAdobe = {0.3127, 0.3290, 0.64, 0.33, 0.21, 0.71, 0.15, 0.06};
inline constexpr PlainPrimaries kPlain2020 = {0.3127, 0.3290, 0.708, 0.292,
                                              0.170,  0.797,  0.131, 0.046};

using PlainColour = std::array<double, 3>;
using PlainMatrix = std::array<PlainColour, 3>;  // rows

[[nodiscard]] PlainColour PlainProduct(const PlainMatrix& matrix, const PlainColour& colour);

// From light of these primaries to CIE XYZ, white at Y = 1.
[[nodiscard]] PlainMatrix PlainToXyz(const PlainPrimaries& primaries);

// The same as a display's profile has it: with white moved to D50 by the Bradford matrix.
[[nodiscard]] PlainMatrix PlainToD50(const PlainPrimaries& primaries);

// Of samples and lights 0..1.
[[nodiscard]] double PlainSrgbLight(double sample);
[[nodiscard]] double PlainSrgbSample(double light);

using PlainCurve = std::function<double(double sample)>;

[[nodiscard]] PlainCurve PlainPower(double gamma);

// The samples 0..1 in sRGB of a light of these primaries; what lies outside is cut off. The white
// must be sRGB's.
[[nodiscard]] std::array<std::uint8_t, 3> PlainToSrgb(const PlainPrimaries& primaries,
                                                      const PlainCurve& curve,
                                                      const PlainColour& samples);

}  // namespace vistrel::test
