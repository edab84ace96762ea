// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/photos/converted_colours.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "tests/support/icc_profiles.h"
#include "tests/support/test_pictures.h"

namespace vistrel::test {

DecodedPhoto PhotoOfBytes(const std::vector<std::uint8_t>& samples, int width) {
    return Photo(samples, width, SampleFormat::Bytes);
}

std::vector<std::uint8_t> Noise() {
    return NoisePicture(kNoiseSide, kNoiseSide, false).rgba;
}

std::vector<std::uint8_t> SoftNoise() {
    std::vector<std::uint8_t> samples = Noise();
    for (std::size_t i = 0; i < samples.size(); i += 8) {
        samples[i + 1] = static_cast<std::uint8_t>((samples[i] + samples[i + 1] / 8) / 2);
        samples[i + 2] = static_cast<std::uint8_t>((samples[i] + samples[i + 2] / 8) / 2);
    }
    return samples;
}

std::vector<std::uint8_t> Greys() {
    std::vector<std::uint8_t> samples;
    for (int grey = 0; grey < 256; ++grey) {
        for (const int sample : {grey, grey, grey, 255}) {
            samples.push_back(static_cast<std::uint8_t>(sample));
        }
    }
    return samples;
}

std::vector<std::uint16_t> Widened(const std::vector<std::uint8_t>& bytes) {
    std::vector<std::uint16_t> words;
    words.reserve(bytes.size());
    for (const std::uint8_t byte : bytes) words.push_back(static_cast<std::uint16_t>(byte * 257));
    return words;
}

std::vector<std::uint8_t> Pixels(const Picture& picture) {
    const auto bytes = static_cast<std::size_t>(picture.width) *
                       static_cast<std::size_t>(picture.height) * kPixelBytes;
    return {picture.pixels.get(), picture.pixels.get() + bytes};
}

std::vector<std::uint8_t> Converted(DecodedPhoto photo) {
    return Pixels(ToSrgbPicture(std::move(photo), true));
}

std::vector<std::uint8_t> ConvertedBy(const std::string& profile,
                                      const std::vector<std::uint8_t>& samples) {
    DecodedPhoto photo = PhotoOfBytes(samples);
    photo.colours.iccProfile = ToBytes(profile);
    return Converted(std::move(photo));
}

std::vector<std::uint8_t> ByTwin(const PlainPrimaries& primaries, const PlainCurve& curve,
                                 const std::vector<std::uint8_t>& samples) {
    std::vector<std::uint8_t> pixels = samples;
    for (std::size_t i = 0; i < samples.size(); i += 4) {
        const auto pixel = PlainToSrgb(
            primaries, curve, {samples[i] / 255.0, samples[i + 1] / 255.0, samples[i + 2] / 255.0});
        std::copy(pixel.begin(), pixel.end(), pixels.begin() + static_cast<std::ptrdiff_t>(i));
    }
    return pixels;
}

void ExpectNear(const std::vector<std::uint8_t>& pixels,
                const std::vector<std::uint8_t>& expected) {
    ASSERT_EQ(pixels.size(), expected.size());
    int farthest = 0;
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        farthest = std::max(farthest, std::abs(pixels[i] - expected[i]));
    }
    EXPECT_LE(farthest, 1);
}

const std::string& DisplayP3() {
    static const std::string profile = IccOfDisplay(kPlainP3, IccSrgbCurve());
    return profile;
}
}  // namespace vistrel::test
