// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/colour_conversion.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <optional>
#include <utility>

#include "photos/coded_colours.h"
#include "photos/hdr_tones.h"
#include "photos/icc_conversion.h"
#include "photos/pixel_conversion.h"
#include "photos/row_bands.h"

namespace vistrel {
namespace {

constexpr std::size_t kAlpha = 3;

std::size_t CountPixels(const DecodedPhoto& photo) {
    return static_cast<std::size_t>(photo.width) * static_cast<std::size_t>(photo.height);
}

// The nearest of 0..most for any float, of which 0..1 counts.
template <typename Sample>
Sample Rounded(float sample, float most) {
    constexpr float kHalf = 0.5F;
    return static_cast<Sample>((sample > 0 ? std::min(sample, 1.0F) : 0.0F) * most + kHalf);
}

void RoundFloats(const std::byte* from, std::uint8_t* pixels, std::size_t count) {
    const auto* samples = reinterpret_cast<const float*>(from);
    for (std::size_t i = 0; i < kPixelBytes * count; ++i) {
        pixels[i] = Rounded<std::uint8_t>(samples[i], 255.0F);
    }
}

void DropLowerHalves(const std::byte* from, std::uint8_t* pixels, std::size_t count) {
    const auto* samples = reinterpret_cast<const std::uint16_t*>(from);
    for (std::size_t i = 0; i < kPixelBytes * count; ++i) {
        pixels[i] = static_cast<std::uint8_t>(samples[i] >> 8);
    }
}

// Inks without a profile: each takes its part of the light.
template <typename Sample>
void MultiplyInks(const std::byte* from, std::uint8_t* pixels, std::size_t count) {
    constexpr int kLower = 8 * (sizeof(Sample) - 1);
    const auto* inks = reinterpret_cast<const Sample*>(from);
    for (std::size_t i = 0; i < count; ++i, inks += kPixelBytes, pixels += kPixelBytes) {
        std::array<std::uint8_t, 3> colour = {};
        const int white = 255 - (inks[3] >> kLower);
        for (std::size_t channel = 0; channel < colour.size(); ++channel) {
            const int light = (255 - (inks[channel] >> kLower)) * white;
            colour[channel] = static_cast<std::uint8_t>((light + 127) / 255);
        }
        std::ranges::copy(colour, pixels);
        pixels[kAlpha] = 255;
    }
}

// For samples of which nothing is told; empty for those that are pixels already.
PixelConversion PlainConversion(const DecodedPhoto& photo) {
    const bool cmyk = photo.model == ColourModel::Cmyk;
    switch (photo.format) {
        case SampleFormat::Words:
            return cmyk ? MultiplyInks<std::uint16_t> : DropLowerHalves;
        case SampleFormat::Floats:
            return RoundFloats;
        default:
            return cmyk ? MultiplyInks<std::uint8_t> : PixelConversion();
    }
}

bool TellsCode(int code) {
    return code != kNotToldCode;
}

bool IsHdr(const DecodedPhoto& photo) {
    const int transfer = photo.colours.coded.transfer;
    return photo.model == ColourModel::Rgba &&
           (transfer == kPqTransfer || transfer == kHlgTransfer);
}

Chromaticities PrimariesOf(const PhotoColours& colours) {
    if (TellsCode(colours.coded.primaries)) return PrimariesOfCode(colours.coded.primaries);
    if (!(colours.chromaticities[0] > 0)) return kSrgbChromaticities;
    Chromaticities numbers = {};
    std::ranges::copy(colours.chromaticities, numbers.begin());
    return numbers;
}

LightCurve CurveOf(const PhotoColours& colours) {
    // Beyond these it is nonsense, and most of the picture would be black or white.
    constexpr double kLeastGamma = 0.1;
    constexpr double kMostGamma = 10;
    if (TellsCode(colours.coded.transfer)) return CurveOfCode(colours.coded.transfer);
    if (colours.gamma >= kLeastGamma && colours.gamma <= kMostGamma) {
        return {.gamma = 1 / colours.gamma};
    }
    return kSrgbCurve;
}

// From the colours that are told, for Bytes and Words; empty where these are sRGB's, or cannot be
// made use of.
PixelConversion ToldConversion(const DecodedPhoto& photo) {
    const PhotoColours& colours = photo.colours;
    if (!TellsColours(colours)) return {};
    // A profile cannot tell these.
    if (IsHdr(photo)) return MakeHdrConversion(photo);
    if (!colours.iccProfile.empty()) return ConversionByProfile(colours.iccProfile, photo);
    if (photo.model == ColourModel::Cmyk) return {};
    return ConversionByPrimaries(PrimariesOf(colours), CurveOf(colours), photo.format);
}

PixelBuffer TakeMemory(std::size_t pixels) {
    PixelBuffer memory = TryAllocatePixels(pixels);
    if (!memory) throw PhotoError("There is not enough memory for its pixels.");
    return memory;
}

// `photo`, which has Floats, in Words: 16 bits are more than an eye tells apart, and the
// conversions have tables for them.
DecodedPhoto InWords(const DecodedPhoto& photo) {
    DecodedPhoto words;
    words.width = photo.width;
    words.height = photo.height;
    words.format = SampleFormat::Words;
    words.model = photo.model;
    words.opaque = photo.opaque;
    words.colours = photo.colours;
    AllocateSamples(words);
    const auto* from = reinterpret_cast<const float*>(photo.samples.get());
    auto* to = reinterpret_cast<std::uint16_t*>(words.samples.get());
    ForPixelBands(CountPixels(photo), [&](std::size_t first, std::size_t count) {
        for (std::size_t i = kPixelBytes * first; i < kPixelBytes * (first + count); ++i) {
            to[i] = Rounded<std::uint16_t>(from[i], 65535.0F);
        }
    });
    return words;
}

// Leaves what makes the samples a picture at all.
void ForgetColours(DecodedPhoto& photo) {
    const bool light =
        photo.format == SampleFormat::Floats && photo.colours.coded.transfer == kLinearTransfer;
    photo.colours = {};
    if (light) photo.colours.coded.transfer = kLinearTransfer;
}

// May bring the samples into another format for it.
PixelConversion ChooseConversion(DecodedPhoto& photo) {
    if (TellsColours(photo.colours)) {
        std::optional<DecodedPhoto> words;
        if (photo.format == SampleFormat::Floats) words = InWords(photo);
        if (PixelConversion told = ToldConversion(words ? *words : photo)) {
            if (words) photo = std::move(*words);
            return told;
        }
    }
    return PlainConversion(photo);
}

}  // namespace

Picture ToSrgbPicture(DecodedPhoto photo, bool convertColours) {
    if (!convertColours) ForgetColours(photo);
    const PixelConversion convert = ChooseConversion(photo);
    const bool opaque = photo.opaque || photo.model == ColourModel::Cmyk;
    if (!convert) return {std::move(photo.samples), photo.width, photo.height, opaque};

    // Bytes are converted where they are.
    const std::size_t sampleBytes = BytesPerSample(photo.format);
    Picture picture = {nullptr, photo.width, photo.height, opaque};
    if (sampleBytes > 1) picture.pixels = TakeMemory(CountPixels(photo));
    const auto* samples = reinterpret_cast<const std::byte*>(photo.samples.get());
    std::uint8_t* const pixels = picture.pixels ? picture.pixels.get() : photo.samples.get();
    ForPixelBands(CountPixels(photo), [&](std::size_t first, std::size_t count) {
        convert(samples + kPixelBytes * sampleBytes * first, pixels + kPixelBytes * first, count);
    });
    if (!picture.pixels) picture.pixels = std::move(photo.samples);
    return picture;
}

}  // namespace vistrel
