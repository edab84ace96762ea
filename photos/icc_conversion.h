// SPDX-License-Identifier: GPL-3.0-or-later
// Colour profiles to sRGB, by lcms2.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "photos/coded_colours.h"
#include "photos/decoded_photo.h"
#include "photos/pixel_conversion.h"

namespace vistrel {

// The conversion from the colours of an ICC profile, perceptual with black point compensation:
// where a profile has a table of its own for that, its maker meant it for photographs, and it is
// what most viewers take; for the profiles that are but curves and primaries all intents are the
// same.
//
// Empty when the profile is sRGB's own within a level of 255, or cannot be used: it is broken, no
// profile of a device, or of another colour space than the samples of `photo` (whose colours are
// not asked): RGB, or grey where all pixels are, for Rgba; CMYK for Cmyk. Bytes and Words only.
[[nodiscard]] PixelConversion ConversionByProfile(std::span<const std::byte> profile,
                                                  const DecodedPhoto& photo);

// The same for colours told by numbers, of Rgba samples in `format`.
[[nodiscard]] PixelConversion ConversionByPrimaries(const Chromaticities& chromaticities,
                                                    const LightCurve& curve, SampleFormat format);

struct LightMatrix {
    float rows[3][3] = {};
};

// From linear light of these primaries to sRGB's, white to white. Nothing for numbers that are no
// primaries.
[[nodiscard]] std::optional<LightMatrix> LightMatrixToSrgb(const Chromaticities& chromaticities);

}  // namespace vistrel
