// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/spark_packing.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace vistrel {
namespace {

constexpr float kMostByte = 255.0F;
constexpr std::uint32_t kHalfInfinity = 0x7C00;  // and all above are no finite numbers
constexpr std::array<std::uint32_t, kMostHarmonicsDegree> kHarmonicsBits = {7, 8, 6};

std::uint32_t ByteOf(std::uint32_t word, int place) {
    return word >> static_cast<unsigned>(8 * place) & 0xFFU;
}

std::uint16_t Units(float value, float unit) {
    constexpr float kMost = 65535.0F;
    const float units = value / unit;
    return units > 0.0F ? static_cast<std::uint16_t>(std::lround(std::min(units, kMost))) : 0;
}

// From the 15 bits below the sign.
float FloatOfHalf(std::uint32_t half) {
    constexpr int kToFloat = 13;
    constexpr std::uint32_t kSign = 0x8000;
    // Exponents differ by 112, also those of numbers too small to be normal.
    constexpr float kExponents = 0x1p112F;
    const float size = std::bit_cast<float>((half & ~kSign) << kToFloat) * kExponents;
    return (half & kSign) != 0 ? -size : size;
}

std::uint16_t HalfOfFloat(float value) {
    constexpr float kMost = 65504.0F;
    constexpr float kExponents = 0x1p-112F;
    constexpr std::uint32_t kRound = 0xFFF;
    const float size = std::min(std::abs(value), kMost) * kExponents;
    const auto bits = std::bit_cast<std::uint32_t>(size);
    const std::uint32_t half = (bits + kRound + (bits >> 13U & 1U)) >> 13U;
    return static_cast<std::uint16_t>(half | (value < 0.0F ? 0x8000U : 0U));
}

std::uint32_t Pair(std::uint32_t low, std::uint32_t high) {
    return low | high << 16U;
}

std::uint32_t PackedPart(float part) {
    constexpr float kUnit = 32767.0F;
    const float units = part * kUnit;
    return static_cast<std::uint32_t>(
               static_cast<std::int32_t>(units + std::copysign(0.5F, units))) &
           0xFFFFU;
}

struct Vector {
    float x;
    float y;
    float z;
};

// A direction of length 1.
Vector AxisOf(std::uint32_t u, std::uint32_t v) {
    Vector axis = {static_cast<float>(u) * (2.0F / kMostByte) - 1.0F,
                   static_cast<float>(v) * (2.0F / kMostByte) - 1.0F, 0.0F};
    axis.z = 1.0F - std::abs(axis.x) - std::abs(axis.y);
    // The square's corners are the octahedron's lower half, folded up.
    const float folded = std::max(-axis.z, 0.0F);
    axis.x -= std::copysign(folded, axis.x);
    axis.y -= std::copysign(folded, axis.y);
    const float length = std::sqrt(axis.x * axis.x + axis.y * axis.y + axis.z * axis.z);
    return {axis.x / length, axis.y / length, axis.z / length};
}

void StoreWord(const GaussianPlanes& planes, Plane plane, std::size_t at, std::uint32_t word) {
    planes.Of(plane)[at] = std::bit_cast<float>(word);
}

// Signed numbers of some bits that follow each other in words.
class Numbers {
  public:
    Numbers(const std::uint32_t* words, std::uint32_t bits) : words_(words), bits_(bits) {}

    // The next one without regard to its sign.
    std::uint32_t Next() {
        const std::uint32_t word = at_ / kWordBits;
        const std::uint32_t shift = at_ % kWordBits;
        std::uint64_t both = words_[word];
        if (shift + bits_ > kWordBits) both |= std::uint64_t{words_[word + 1]} << kWordBits;
        at_ += bits_;
        return static_cast<std::uint32_t>(both >> shift) & ((1U << bits_) - 1U);
    }

  private:
    static constexpr std::uint32_t kWordBits = 32;
    const std::uint32_t* words_;
    std::uint32_t bits_;
    std::uint32_t at_ = 0;
};

}  // namespace

SparkUnpacker::SparkUnpacker(const SparkEncoding& encoding) {
    const float colors = (encoding.color.most - encoding.color.least) / kMostByte;
    const float scales = (encoding.logScale.most - encoding.logScale.least) / 254.0F;
    // Step by step round the circle, half a turn in all.
    constexpr double kStepCosine = 0.9999810273487268;
    constexpr double kStepSine = 0.006159946638138647;
    double cosine = 1.0;
    double sine = 0.0;
    for (std::size_t i = 0; i < kBytes; ++i) {
        const auto byte = static_cast<float>(i);
        const float color = encoding.color.least + byte * colors;
        color_[i] = Units(color, kColorUnit);
        colorHalf_[i] = HalfOfFloat(color);
        opacity_[i] = i == 0 ? 0 : Units(std::log2(byte / kMostByte) - kFaintestLog, kOpacityUnit);
        scale_[i] = i == 0 ? 0.0F : std::exp(encoding.logScale.least + (byte - 1.0F) * scales);
        cosine_[i] = static_cast<float>(cosine);
        sine_[i] = static_cast<float>(sine);
        const double next = cosine * kStepCosine - sine * kStepSine;
        sine = sine * kStepCosine + cosine * kStepSine;
        cosine = next;
    }
    for (std::size_t degree = 0; degree < harmonics_.size(); ++degree) {
        const auto [least, most] = encoding.harmonics[degree];
        const std::int32_t largest = (std::int32_t{1} << (kHarmonicsBits[degree] - 1U)) - 1;
        const float middle = 0.5F * (most + least);
        const float unit = 0.5F * (most - least) / static_cast<float>(largest);
        for (std::int32_t number = -largest - 1; number <= largest; ++number) {
            const auto bits = static_cast<std::uint32_t>(number) &
                              (2U * static_cast<std::uint32_t>(largest) + 1U);
            harmonics_[degree][bits] = HalfOfFloat(middle + static_cast<float>(number) * unit);
        }
    }
}

void SparkUnpacker::Unpack(const SparkWords& words, std::span<const std::uint16_t> order,
                           const GaussianPlanes& planes, std::size_t first) const {
    for (std::size_t i = 0; i < order.size(); ++i) UnpackOne(words, order[i], planes, first + i);
}

void SparkUnpacker::UnpackOne(const SparkWords& words, std::size_t i, const GaussianPlanes& planes,
                              std::size_t to) const {
    const std::uint32_t* const word = words.gaussians + kSparkWords * i;
    const std::array<std::uint32_t, 3> halves = {word[1] & 0xFFFFU, word[1] >> 16U,
                                                 word[2] & 0xFFFFU};
    bool drawn = (word[3] & 0xFFFFFFU) != 0;
    for (std::size_t axis = 0; axis < halves.size(); ++axis) {
        drawn = drawn && (halves[axis] & kHalfInfinity) != kHalfInfinity;
        planes.words[axis * planes.stride + to] = FloatOfHalf(halves[axis]);
        planes.words[(3 + axis) * planes.stride + to] =
            scale_[ByteOf(word[3], static_cast<int>(axis))];
    }
    const Vector axis = AxisOf(ByteOf(word[2], 2), ByteOf(word[2], 3));
    const float cosine = cosine_[ByteOf(word[3], 3)];
    const float sine = sine_[ByteOf(word[3], 3)];
    StoreWord(planes, Plane::RotationWX, to, Pair(PackedPart(cosine), PackedPart(axis.x * sine)));
    StoreWord(planes, Plane::RotationYZ, to,
              Pair(PackedPart(axis.y * sine), PackedPart(axis.z * sine)));
    StoreWord(planes, Plane::RedGreen, to,
              Pair(color_[ByteOf(word[0], 0)], color_[ByteOf(word[0], 1)]));
    StoreWord(planes, Plane::BlueOpacity, to,
              Pair(color_[ByteOf(word[0], 2)], drawn ? opacity_[ByteOf(word[0], 3)] : 0U));
    if (planes.degree > 0) UnpackHarmonics(words, i, planes, to);
}

void SparkUnpacker::UnpackHarmonics(const SparkWords& words, std::size_t i,
                                    const GaussianPlanes& planes, std::size_t to) const {
    for (std::size_t channel = 0; channel < 3; ++channel) {
        planes.Harmonic(0, channel)[to] =
            colorHalf_[ByteOf(words.gaussians[kSparkWords * i], static_cast<int>(channel))];
    }
    for (int degree = 1; degree <= planes.degree; ++degree) {
        const auto index = static_cast<std::size_t>(degree - 1);
        Numbers numbers(words.harmonics[index] + kSparkHarmonicsWords[index] * i,
                        kHarmonicsBits[index]);
        for (std::size_t function = HarmonicsCount(degree - 1); function < HarmonicsCount(degree);
             ++function) {
            for (std::size_t channel = 0; channel < 3; ++channel) {
                planes.Harmonic(function, channel)[to] = harmonics_[index][numbers.Next()];
            }
        }
    }
}

}  // namespace vistrel
