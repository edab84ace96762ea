// SPDX-License-Identifier: GPL-3.0-or-later
// What must hold of a decoder of photographs, whatever the file is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "photos/photo_loader.h"
#include "tests/fuzz/require.h"

namespace vistrel::fuzz {

inline void RequireFullAlpha(const DecodedPhoto& photo) {
    const std::size_t sampleBytes = BytesPerSample(photo.format);
    const std::size_t pixelBytes = kPixelBytes * sampleBytes;
    const std::size_t bytes =
        pixelBytes * static_cast<std::size_t>(photo.width) * static_cast<std::size_t>(photo.height);
    const std::uint8_t one[] = {0, 0, 0x80, 0x3F};  // as a float
    for (std::size_t i = pixelBytes - sampleBytes; i < bytes; i += pixelBytes) {
        for (std::size_t byte = 0; byte < sampleBytes; ++byte) {
            const bool isFloat = photo.format == SampleFormat::Floats;
            Require(photo.samples[i + byte] == (isFloat ? one[byte] : UINT8_MAX));
        }
    }
}

// The decoder takes the file or says in a sentence why not, and what it hands over is sound.
inline void DecodeAnyPhoto(PhotoLoader load, const std::uint8_t* data, std::size_t size) {
    try {
        const std::optional<DecodedPhoto> photo = load(std::as_bytes(std::span(data, size)));
        if (!photo) return;
        Require(photo->width > 0 && photo->height > 0 && photo->samples);
        Require(static_cast<std::uint64_t>(photo->width) *
                    static_cast<std::uint64_t>(photo->height) <=
                kMostPixels);
        Require(photo->orientation >= 1 && photo->orientation <= 8);
        if (photo->opaque && photo->model == ColourModel::Rgba) RequireFullAlpha(*photo);
    } catch (const PhotoError& error) {
        Require(std::string_view(error.what()).ends_with('.'));
    }
}

}  // namespace vistrel::fuzz
