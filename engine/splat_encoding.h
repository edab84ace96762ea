// SPDX-License-Identifier: GPL-3.0-or-later
// How 3D Gaussian Splatting files store colours, opacities and scales.
//
// Each function encodes one value after the other, in single precision, with the widest vectors the
// processor has. `encoded` holds as many values as `linear`; the two may be the same memory but
// must not overlap otherwise. Logarithms are within 2 units in the last place of logf, the sRGB
// values of colours within 3 of what powf gives; all around them is rounded step by step like the
// formulas here. Any thread.
#pragma once

#include <span>

namespace vistrel {

// Zeroth spherical-harmonic coefficient (s - 0.5) / 0.28209478 of the sRGB value s of a linear
// channel c: s = 12.92 c up to c = 0.0031308, else 1.055 c^(1/2.4) - 0.055 (IEC 61966-2-1). Not
// clamped: values outside [0, 1], infinity and NaN go through the formula.
void EncodeColors(std::span<const float> linear, std::span<float> encoded);

// Logit ln(o / (1 - o)) of an opacity o, which is first brought into [1e-6, 0.999999]. NaN counts
// as opaque.
void EncodeOpacities(std::span<const float> linear, std::span<float> encoded);

// Natural logarithm of a standard deviation; below 1e-10 (and for negative values) that of 1e-10.
// Infinity and NaN stay what they are.
void EncodeScales(std::span<const float> linear, std::span<float> encoded);

}  // namespace vistrel
