// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/straight_alpha.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace vistrel {
namespace {

constexpr int kAlphaPlace = 3;  // behind the colours

template <typename T>
T Divided(T colour, T alpha) {
    if (!(alpha > 0)) return 0;
    if constexpr (std::is_floating_point_v<T>) {
        return colour / alpha;
    } else {
        constexpr std::uint64_t kFull = std::numeric_limits<T>::max();
        return static_cast<T>(std::min(kFull, ((colour * kFull) + (alpha / 2)) / alpha));
    }
}

template <typename T>
void MakeStraight(T* pixels, std::size_t count) {
    constexpr T kFull = std::is_floating_point_v<T> ? T{1} : std::numeric_limits<T>::max();
    for (std::size_t i = 0; i < count; ++i, pixels += kPixelBytes) {
        const T alpha = pixels[kAlphaPlace];
        if (alpha == kFull) continue;
        for (int c = 0; c < kAlphaPlace; ++c) pixels[c] = Divided(pixels[c], alpha);
    }
}

}  // namespace

void MakeAlphaStraight(DecodedPhoto& photo) {
    const std::size_t count =
        static_cast<std::size_t>(photo.width) * static_cast<std::size_t>(photo.height);
    std::uint8_t* const samples = photo.samples.get();
    switch (photo.format) {
        case SampleFormat::Bytes:
            return MakeStraight(samples, count);
        case SampleFormat::Words:
            return MakeStraight(reinterpret_cast<std::uint16_t*>(samples), count);
        case SampleFormat::Floats:
            return MakeStraight(reinterpret_cast<float*>(samples), count);
    }
}

}  // namespace vistrel
