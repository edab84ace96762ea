// SPDX-License-Identifier: GPL-3.0-or-later
// Colours that differ from sRGB by a curve for each channel and a matrix, as those of nearly every
// photograph with a profile do.
#pragma once

#include <cstddef>
#include <vector>

#include "photos/decoded_photo.h"
#include "photos/pixel_conversion.h"

namespace vistrel {

// Less would show where a channel is a small difference of large lights.
inline constexpr int kWordEntryBits = 14;
inline constexpr std::size_t kWordEntries = std::size_t{1} << kWordEntryBits;

struct MatrixColours {
    // The light of a sample, 0..1, at evenly spaced ones from 0 to the greatest: 256 for Bytes,
    // kWordEntries for Words.
    std::vector<float> curves[3];
    float matrix[3][3] = {};  // from these lights to sRGB's; a row for each of sRGB's channels
};

// Table look-ups and two additions per pixel: a table for each channel gives the light of a sample
// in all three of sRGB's, and another one the sample for the sum. A grey comes out exactly, any
// colour within one level of 255.
//
// For Bytes and Words. Empty where the lights reach so far that the tables would be too coarse, are
// no numbers, or there are no curves.
[[nodiscard]] PixelConversion MakeMatrixConversion(const MatrixColours& colours,
                                                   SampleFormat format);

}  // namespace vistrel
