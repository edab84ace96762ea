// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/tiff_samples.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

namespace vistrel {
namespace {

constexpr int kColours = 3;

template <typename T>
constexpr T Full() {
    if constexpr (std::is_floating_point_v<T>) return 1;
    return std::numeric_limits<T>::max();
}

// Half precision.
float FromHalf(std::uint16_t half) {
    constexpr int kMantissaBits = 10;
    constexpr int kInfinite = 31;
    const int exponent = (half >> kMantissaBits) & kInfinite;
    const auto mantissa = static_cast<float>(half & ((1 << kMantissaBits) - 1));
    float value = 0;
    if (exponent == kInfinite) {
        value = mantissa == 0 ? std::numeric_limits<float>::infinity()
                              : std::numeric_limits<float>::quiet_NaN();
    } else if (exponent == 0) {
        value = std::ldexp(mantissa, -24);
    } else {
        value = std::ldexp(mantissa + (1 << kMantissaBits), exponent - 25);
    }
    return (half & 0x8000) != 0 ? -value : value;
}

template <typename T, typename From, typename Convert>
const T* Converted(const std::byte* row, std::size_t count, std::vector<T>& scratch,
                   Convert convert) {
    scratch.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        From value;
        std::memcpy(&value, row + (i * sizeof(From)), sizeof(From));
        scratch[i] = static_cast<T>(convert(value));
    }
    return scratch.data();
}

// Samples of `bits` bits each, brought to the range of T, except that a palette takes them as they
// are.
template <typename T>
const T* Unpacked(const std::byte* row, std::size_t count, int bits, bool scaled,
                  std::vector<T>& scratch) {
    scratch.resize(count);
    assert(bits > 0 && bits < 16);
    const std::uint32_t most = std::max((1U << bits) - 1, 1U);
    const std::uint32_t full = scaled ? static_cast<std::uint32_t>(Full<T>()) : most;
    std::uint32_t waiting = 0;
    int waitingBits = 0;
    for (T& sample : scratch) {
        for (; waitingBits < bits; waitingBits += 8) {
            waiting = (waiting << 8) | std::to_integer<std::uint32_t>(*row++);
        }
        waitingBits -= bits;
        const std::uint32_t value = (waiting >> waitingBits) & most;
        sample = static_cast<T>(((value * full) + (most / 2)) / most);
    }
    return scratch.data();
}

// The row's samples as T; in `scratch` unless they are so already.
template <typename T>
const T* Samples(const TiffPixels& pixels, const std::byte* row, std::size_t count,
                 std::vector<T>& scratch) {
    if constexpr (std::is_same_v<T, float>) {
        if (pixels.bits == 16) {
            return Converted<float, std::uint16_t>(row, count, scratch, FromHalf);
        }
        if (pixels.bits == 64) {
            return Converted<float, double>(row, count, scratch, [](double v) { return v; });
        }
    } else {
        if (pixels.bits == 32) {
            return Converted<T, std::uint32_t>(row, count, scratch,
                                               [](std::uint32_t v) { return v >> 16; });
        }
        if (pixels.bits != static_cast<int>(8 * sizeof(T))) {
            const bool scaled = pixels.kind != TiffPixels::Kind::Palette;
            return Unpacked(row, count, pixels.bits, scaled, scratch);
        }
    }
    return reinterpret_cast<const T*>(row);
}

template <typename T>
void PutSample(const T* from, std::size_t step, std::size_t count, T* to) {
    for (std::size_t i = 0; i < count; ++i) to[i * kPixelBytes] = from[i * step];
}

template <typename T>
void PutGrey(const TiffPixels& pixels, const T* from, std::size_t step, std::size_t count, T* to) {
    for (std::size_t i = 0; i < count; ++i) {
        const T sample = from[i * step];
        const T value = pixels.whiteIsZero ? static_cast<T>(Full<T>() - sample) : sample;
        std::fill_n(to + (i * kPixelBytes), kColours, value);
    }
}

template <typename T>
void PutPalette(const TiffPixels& pixels, const T* from, std::size_t step, std::size_t count,
                T* to) {
    if constexpr (std::is_same_v<T, std::uint8_t>) {
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint8_t* const colour =
                pixels.palette.data() + (kColours * std::size_t{from[i * step]});
            std::copy_n(colour, kColours, to + (i * kPixelBytes));
        }
    }
}

// The usual photograph; kStep is known so that the compiler sees how the samples move.
template <std::size_t kStep, typename T>
void PutOpaqueRgb(const T* from, std::size_t count, T* to) {
    for (std::size_t i = 0; i < count; ++i) {
        to[0] = from[0];
        to[1] = from[1];
        to[2] = from[2];
        to[3] = Full<T>();
        from += kStep;
        to += kPixelBytes;
    }
}

template <typename T>
void PutPlane(const TiffPixels& pixels, const T* from, std::size_t step, int plane,
              std::size_t count, T* to) {
    using Kind = TiffPixels::Kind;
    if (plane == pixels.alpha) return PutSample(from, step, count, to + kColours);
    if (pixels.kind == Kind::Grey) return PutGrey(pixels, from, step, count, to);
    if (pixels.kind == Kind::Palette) return PutPalette(pixels, from, step, count, to);
    PutSample(from, step, count, to + plane);
}

template <typename T>
void FillAlpha(std::size_t count, T* to) {
    for (std::size_t i = 0; i < count; ++i) to[(i * kPixelBytes) + kColours] = Full<T>();
}

template <typename T>
void Put(const TiffPixels& pixels, const std::byte* row, int plane, std::size_t count, T* to) {
    std::vector<T> scratch;
    const auto step = static_cast<std::size_t>(pixels.SamplesInRow());
    const T* const from = Samples<T>(pixels, row, count * step, scratch);
    const bool opaque = pixels.alpha < 0 && pixels.kind != TiffPixels::Kind::Cmyk;
    if (opaque && step == kColours && pixels.kind == TiffPixels::Kind::Rgb) {
        return PutOpaqueRgb<kColours>(from, count, to);
    }
    if (pixels.planes) {
        PutPlane(pixels, from, step, plane, count, to);
    } else {
        for (int i = 0; i < pixels.samples; ++i) {
            if (IsShown(pixels, i)) PutPlane(pixels, from + i, step, i, count, to);
        }
    }
    if (opaque && plane == 0) FillAlpha(count, to);
}

}  // namespace

SampleFormat FormatFor(const TiffPixels& pixels) {
    if (pixels.floats) return SampleFormat::Floats;
    return pixels.bits <= 8 ? SampleFormat::Bytes : SampleFormat::Words;
}

bool IsShown(const TiffPixels& pixels, int plane) {
    const bool grey =
        pixels.kind == TiffPixels::Kind::Grey || pixels.kind == TiffPixels::Kind::Palette;
    const int colours = grey ? 1 : pixels.kind == TiffPixels::Kind::Rgb ? kColours : kPixelBytes;
    return plane < colours || plane == pixels.alpha;
}

void PutTiffRow(const TiffPixels& pixels, const std::byte* row, int plane, int count,
                DecodedPhoto& photo, int x, int y) {
    const std::size_t place =
        ((static_cast<std::size_t>(y) * static_cast<std::size_t>(photo.width)) +
         static_cast<std::size_t>(x)) *
        kPixelBytes;
    const auto pixelCount = static_cast<std::size_t>(count);
    std::uint8_t* const to = photo.samples.get() + (place * BytesPerSample(photo.format));
    switch (photo.format) {
        case SampleFormat::Bytes:
            return Put(pixels, row, plane, pixelCount, to);
        case SampleFormat::Words:
            return Put(pixels, row, plane, pixelCount, reinterpret_cast<std::uint16_t*>(to));
        case SampleFormat::Floats:
            return Put(pixels, row, plane, pixelCount, reinterpret_cast<float*>(to));
    }
}

}  // namespace vistrel
