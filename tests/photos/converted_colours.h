// SPDX-License-Identifier: GPL-3.0-or-later
// Photographs as decoders hand them over, and what becomes of their colours.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "photos/colour_conversion.h"
#include "tests/support/plain_colours.h"

namespace vistrel::test {

inline constexpr int kNoiseSide = 40;  // of Noise, in pixels

// Every four samples are a pixel.
template <typename Sample>
DecodedPhoto Photo(const std::vector<Sample>& samples, int width, SampleFormat format) {
    DecodedPhoto photo;
    photo.width = width;
    photo.height = static_cast<int>(samples.size() / 4) / width;
    photo.format = format;
    AllocateSamples(photo);
    std::memcpy(photo.samples.get(), samples.data(), samples.size() * sizeof(Sample));
    return photo;
}
DecodedPhoto PhotoOfBytes(const std::vector<std::uint8_t>& samples, int width = 1);

std::vector<std::uint8_t> Noise();
// Every second pixel is greyish, so that not most samples lie at the edges.
std::vector<std::uint8_t> SoftNoise();
std::vector<std::uint8_t> Greys();
// The same in sixteen bits.
std::vector<std::uint16_t> Widened(const std::vector<std::uint8_t>& bytes);

std::vector<std::uint8_t> Pixels(const Picture& picture);
std::vector<std::uint8_t> Converted(DecodedPhoto photo);
std::vector<std::uint8_t> ConvertedBy(const std::string& profile,
                                      const std::vector<std::uint8_t>& samples);
// What the plain twin makes of `samples`, whose colours have these primaries and this curve.
std::vector<std::uint8_t> ByTwin(const PlainPrimaries& primaries, const PlainCurve& curve,
                                 const std::vector<std::uint8_t>& samples);
// Within a level.
void ExpectNear(const std::vector<std::uint8_t>& pixels, const std::vector<std::uint8_t>& expected);

const std::string& DisplayP3();

}  // namespace vistrel::test
