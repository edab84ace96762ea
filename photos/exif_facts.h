// SPDX-License-Identifier: GPL-3.0-or-later
// What EXIF tells about how a photograph was taken.
#pragma once

#include <cstddef>
#include <span>

namespace vistrel {

// Values that are missing, not finite or not positive are 0.
struct ExifFacts {
    // As the file has it: a signed 16-bit value that is not checked against 1..8; 1 where there is
    // none, or one that is not a SHORT.
    int orientation = 1;
    double focal35mm = 0;            // focal length in mm that would see as much on 35 mm film
    double focalLength = 0;          // in mm
    double pixelsPerMillimetre = 0;  // on the sensor, of a picture as large as told here:
    double pixelWidth = 0;
    double pixelHeight = 0;
};

// Of an EXIF block, which begins with its TIFF header. Throws nothing; any thread.
[[nodiscard]] ExifFacts ReadExifBlock(std::span<const std::byte> block) noexcept;

// Of a whole file of a kind that the metadata library knows: JPEG, PNG, PSD, TIFF, most camera raw
// ones. Throws nothing; any thread.
[[nodiscard]] ExifFacts ReadExifOfFile(std::span<const std::byte> file) noexcept;

}  // namespace vistrel
