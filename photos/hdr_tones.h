// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures of high dynamic range for displays without it.
#pragma once

#include "photos/decoded_photo.h"
#include "photos/pixel_conversion.h"

namespace vistrel {

// The conversion of a photograph whose transfer is PQ or HLG, Rgba in Bytes or Words:
//
// - Samples become light as ITU-R BT.2100 says: PQ's of 0..10,000 cd/m2, HLG's through the OOTF of
//   a display of 1000 cd/m2.
// - 203 cd/m2, white paper according to ITU-R BT.2408, is sRGB's white where nothing is brighter.
//   Up to the brightest light of the picture (a ten-thousandth of the pixels left out), the curve
//   of the EETF in ITU-R BT.2390, section 5.4, rolls off to that white. It is applied to the
//   largest of red, green and blue, and the others follow in proportion, so that hues stay. White
//   paper then comes out at 229 where the brightest is 1000 cd/m2, at 195 where it is 10,000.
// - What lies outside of sRGB, and the last tenth inside, is moved towards the grey of its
//   luminance.
//
// Greys stay grey, and a brighter one is never darker. Reads the samples of `photo` for the
// brightest. Empty where its primaries are none.
[[nodiscard]] PixelConversion MakeHdrConversion(const DecodedPhoto& photo);

}  // namespace vistrel
