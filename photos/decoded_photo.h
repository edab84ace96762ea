// SPDX-License-Identifier: GPL-3.0-or-later
// What the decoder of a kind of photograph hands over: samples as the file has them, and what the
// file says about their colours.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "engine/picture.h"

namespace vistrel {

// A photograph cannot be read. The text is a sentence for the user without the file's name.
class PhotoError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

enum class SampleFormat : std::uint8_t {
    Bytes,   // std::uint8_t, 0..255
    Words,   // std::uint16_t in the processor's byte order, 0..65535 whatever depth the file has
    Floats,  // float, 0..1, may go beyond; not a number counts as 0
};

enum class ColourModel : std::uint8_t {
    Rgba,  // red, green, blue, straight alpha; grey ones have the same value three times
    Cmyk,  // cyan, magenta, yellow, black; 0 is no ink
};

// Code points of ITU-T H.273, as HEIF's nclx and PNG's cICP have them. 2: not told.
struct CodedColours {
    int primaries = 2;  // 1: BT.709 and sRGB, 9: BT.2020, 12: Display P3 ...
    int transfer = 2;   // 8: linear, 13: sRGB, 16: PQ, 18: HLG ...
};

// At most one of these tells; none does: the samples are taken for sRGB as they are.
struct PhotoColours {
    std::vector<std::byte> iccProfile;  // preferred where it is not empty
    CodedColours coded;
    // As PNG has them: file sample = light ^ gamma, 0 is not told; CIE x and y of white, red,
    // green, blue, with white's x 0 where these are not told (sRGB's, then).
    double gamma = 0;
    double chromaticities[8] = {};
};

// Whether anything is told.
[[nodiscard]] bool TellsColours(const PhotoColours& colours);

struct DecodedPhoto {
    // Memory of std::malloc: height x width x 4 samples of `format`, rows from the top without
    // gaps.
    PixelBuffer samples;
    int width = 0;
    int height = 0;
    SampleFormat format = SampleFormat::Bytes;
    ColourModel model = ColourModel::Rgba;
    bool opaque = false;  // every alpha is full; may be false although it is so
    PhotoColours colours;
    // The container's own tag, in EXIF's values, by which the samples are still to be turned; 1
    // where there is none and where the decoder has turned them.
    int orientation = 1;
    bool exifTurns = false;  // the orientation in `exif` is still to be applied, too
    // The EXIF block, beginning with the TIFF header; empty where there is none.
    std::vector<std::byte> exif;
    int reduction = 1;  // 2: decoded at half of its width and height
};

[[nodiscard]] constexpr std::size_t BytesPerSample(SampleFormat format) {
    return format == SampleFormat::Bytes ? 1 : format == SampleFormat::Words ? 2 : 4;
}

#ifdef VISTREL_MOST_PIXELS  // a search for bad input takes less, to be fast
inline constexpr std::uint64_t kMostPixels = VISTREL_MOST_PIXELS;
#else
inline constexpr std::uint64_t kMostPixels = 200'000'000;
#endif

// Throws PhotoError for sides of no pixels and for more than kMostPixels. Asked before memory is
// taken for them.
void CheckPhotoSize(std::uint64_t width, std::uint64_t height);

// The samples of `photo` (not set) for its size and format, which are checked first. Throws
// PhotoError as CheckPhotoSize does and where there is no memory.
void AllocateSamples(DecodedPhoto& photo);

}  // namespace vistrel
