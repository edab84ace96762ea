// SPDX-License-Identifier: GPL-3.0-or-later
// What the code points of ITU-T H.273 stand for.
#pragma once

#include <array>

namespace vistrel {

// CIE x and y of white, red, green and blue.
using Chromaticities = std::array<double, 8>;

inline constexpr Chromaticities kSrgbChromaticities = {0.3127, 0.3290, 0.64, 0.33,
                                                       0.30,   0.60,   0.15, 0.06};

// The light 0..1 of a sample x, 0..1: (a x + b) ^ gamma from `d` on, c x below.
struct LightCurve {
    double gamma = 1;
    double a = 1;
    double b = 0;
    double c = 0;
    double d = 0;
};

inline constexpr LightCurve kSrgbCurve = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};

inline constexpr int kNotToldCode = 2;
inline constexpr int kLinearTransfer = 8;
inline constexpr int kPqTransfer = 16;
inline constexpr int kHlgTransfer = 18;

// sRGB's for a code that tells nothing or is unknown.
[[nodiscard]] Chromaticities PrimariesOfCode(int primaries);

// Likewise; PQ and HLG have no such curve. Those of television are the inverse of what the camera
// did, as ICC profiles for them have it.
[[nodiscard]] LightCurve CurveOfCode(int transfer);

}  // namespace vistrel
