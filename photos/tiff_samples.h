// SPDX-License-Identifier: GPL-3.0-or-later
// The samples of a TIFF, as they come out of its strips and tiles, to those of a DecodedPhoto.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "photos/decoded_photo.h"

namespace vistrel {

struct TiffPixels {
    enum class Kind : std::uint8_t { Grey, Palette, Rgb, Cmyk };

    Kind kind = Kind::Grey;
    int bits = 8;              // of a sample: 1 to 16, 32; 16, 32 or 64 of floating numbers
    bool floats = false;       // floating numbers
    bool whiteIsZero = false;  // grey alone
    bool planes = false;       // a row has the samples of one plane alone
    int samples = 1;           // of a pixel, in all planes
    int alpha = -1;            // the number of the sample that is alpha; -1: none is
    std::vector<std::uint8_t> palette;  // red, green, blue for every value of a sample

    [[nodiscard]] int SamplesInRow() const { return planes ? 1 : samples; }
};

[[nodiscard]] SampleFormat FormatFor(const TiffPixels& pixels);

// Whether a plane holds anything that is shown.
[[nodiscard]] bool IsShown(const TiffPixels& pixels, int plane);

// Puts `count` pixels of a row that begins at `row`, of the plane `plane` (0 where there are none),
// to `x`, `y` of `photo`, whose samples are allocated. The row's samples are in the processor's
// byte order, and those of less than 8 bits and of 9 to 15 bits are packed, the first one highest.
void PutTiffRow(const TiffPixels& pixels, const std::byte* row, int plane, int count,
                DecodedPhoto& photo, int x, int y);

}  // namespace vistrel
