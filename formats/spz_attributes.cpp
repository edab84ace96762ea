// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/spz_attributes.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <stdexcept>

#include "formats/half_float.h"

namespace vistrel {
namespace {

constexpr float kByteFull = 255.0F;
constexpr float kColorSteps = kByteFull * 0.15F;
constexpr float kColorZero = kByteFull / 2.0F;
constexpr float kLogScaleSteps = 16.0F;
constexpr float kSpzLeastLogScale = -10.0F;
constexpr float kFirstThreeSteps = 127.5F;
constexpr float kHarmonicSteps = 128.0F;
constexpr int kHarmonicZero = 128;
constexpr long kDegree1Step = 8;
constexpr long kHigherStep = 16;
constexpr std::size_t kDegree1Functions = 3;
constexpr float kLargestSmall = 0.70710678F;  // of the three smallest components of a length of 1
constexpr int kMagnitudeBits = 9;
constexpr std::uint32_t kRotationMagnitude = (1U << kMagnitudeBits) - 1;
constexpr int kComponentBits = kMagnitudeBits + 1;
constexpr int kLargestBits = 3 * kComponentBits;  // below the index of the largest one
constexpr int kSpzPositionBits = 24;
constexpr int kMostSpzPosition = (1 << (kSpzPositionBits - 1)) - 1;
constexpr int kUsualFractionalBits = 12;
constexpr int kMostFractionalBits = kSpzPositionBits - 1;
constexpr float kEnoughSteps = 16384.0F;

// The file has x, y, z, w, and we have w, x, y, z.
constexpr std::array<std::size_t, 4> kRotationRows = {kRotationRow + 1, kRotationRow + 2,
                                                      kRotationRow + 3, kRotationRow};

std::uint32_t LittleEndianAt(const std::byte* bytes, std::size_t size) {
    std::uint32_t value = 0;
    for (std::size_t k = 0; k < size; ++k)
        value |= std::to_integer<std::uint32_t>(bytes[k]) << 8 * k;
    return value;
}

void PutLittleEndian(std::uint32_t value, std::size_t size, std::byte* bytes) {
    for (std::size_t k = 0; k < size; ++k) bytes[k] = static_cast<std::byte>(value >> 8 * k);
}

float PositionOf(const std::byte* bytes, float step) {
    const std::uint32_t raised = LittleEndianAt(bytes, 3) << 8;  // brings the sign to its place
    return static_cast<float>(std::bit_cast<std::int32_t>(raised) >> 8) * step;
}

// 8-bit values of one kind as floats.
using ByteTable = std::array<float, 256>;

template <typename Decode>
ByteTable TableOf(Decode decode) {
    ByteTable table;
    for (std::size_t v = 0; v < table.size(); ++v) table[v] = decode(static_cast<float>(v));
    return table;
}

const ByteTable kOpacityLogits = TableOf([](float v) { return std::log(v / (kByteFull - v)); });
const ByteTable kColorValues = TableOf([](float v) { return (v - kColorZero) / kColorSteps; });
const ByteTable kLogScaleValues =
    TableOf([](float v) { return v / kLogScaleSteps + kSpzLeastLogScale; });
const ByteTable kHarmonicValues =
    TableOf([](float v) { return (v - static_cast<float>(kHarmonicZero)) / kHarmonicSteps; });

// Decodes `values` bytes for each Gaussian into as many rows, times their signs.
struct RowTarget {
    float* rows;
    std::size_t stride;
    const RowSigns& signs;

    void Put(std::size_t row, std::size_t i, float value) const {
        rows[row * stride + i] = value * signs[row];
    }
};

void DecodePositions(const SpzFacts& facts, const std::byte* from, std::size_t count,
                     const RowTarget& to) {
    const bool isHalf = facts.version == 1;
    const std::size_t bytes = isHalf ? 2 : 3;
    const float step = std::ldexp(1.0F, -facts.fractionalBits);
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t k = 0; k < 3; ++k, from += bytes) {
            to.Put(kPositionRow + k, i,
                   isHalf ? FloatOfHalf(static_cast<std::uint16_t>(LittleEndianAt(from, 2)))
                          : PositionOf(from, step));
        }
    }
}

void DecodeBytes(const ByteTable& table, const std::byte* from, std::size_t count,
                 std::size_t values, std::size_t row, const RowTarget& to) {
    for (std::size_t k = 0; k < values; ++k) {
        for (std::size_t i = 0; i < count; ++i) {
            to.Put(row + k, i, table[std::to_integer<std::size_t>(from[i * values + k])]);
        }
    }
}

void DecodeHarmonics(const std::byte* from, std::size_t count, std::size_t functions,
                     const RowTarget& to) {
    for (std::size_t k = 0; k < functions; ++k) {
        for (std::size_t c = 0; c < 3; ++c) {
            const std::size_t row = kHarmonicsRow + c * functions + k;
            for (std::size_t i = 0; i < count; ++i) {
                const std::byte v = from[3 * (i * functions + k) + c];
                to.Put(row, i, kHarmonicValues[std::to_integer<std::size_t>(v)]);
            }
        }
    }
}

std::array<float, 4> FirstThree(const std::byte* from) {
    std::array<float, 4> q = {};
    float squares = 0.0F;
    for (std::size_t k = 0; k < 3; ++k) {
        q[k] = static_cast<float>(std::to_integer<int>(from[k])) / kFirstThreeSteps - 1.0F;
        squares += q[k] * q[k];
    }
    q[3] = std::sqrt(std::max(0.0F, 1.0F - squares));
    return q;
}

std::array<float, 4> SmallestThree(const std::byte* from) {
    std::uint32_t bits = LittleEndianAt(from, 4);
    const std::size_t largest = bits >> kLargestBits;
    std::array<float, 4> q = {};
    float squares = 0.0F;
    for (std::size_t k = 4; k-- > 0;) {
        if (k == largest) continue;
        q[k] = static_cast<float>(bits & kRotationMagnitude) *
               (kLargestSmall / static_cast<float>(kRotationMagnitude));
        squares += q[k] * q[k];
        if ((bits >> kMagnitudeBits & 1U) != 0) q[k] = -q[k];
        bits >>= kComponentBits;
    }
    q[largest] = std::sqrt(std::max(0.0F, 1.0F - squares));
    return q;
}

void DecodeRotations(int version, const std::byte* from, std::size_t count, const RowTarget& to) {
    for (std::size_t i = 0; i < count; ++i) {
        const std::array<float, 4> q =
            version < 3 ? FirstThree(from + 3 * i) : SmallestThree(from + 4 * i);
        for (std::size_t k = 0; k < 4; ++k) to.Put(kRotationRows[k], i, q[k]);
    }
}

// The nearest of 0..255.
std::byte NearestByte(float value) {
    return static_cast<std::byte>(std::lround(std::clamp(value, 0.0F, kByteFull)));
}

std::byte HarmonicByte(float value, long step) {
    constexpr float kMost = 256.0F;  // far enough for what ends at 0 or 255
    const long whole = std::lround(std::clamp(value * kHarmonicSteps, -kMost, kMost));
    const long rounded = std::max(0L, whole + kHarmonicZero + step / 2) / step * step;
    return static_cast<std::byte>(std::min(rounded, 255L));
}

std::uint32_t PackedRotation(const std::array<float, 4>& rotation) {
    const auto bySize = [](float a, float b) { return std::abs(a) < std::abs(b); };
    const auto* const most = std::ranges::max_element(rotation, bySize);
    const auto largest = static_cast<std::size_t>(most - rotation.begin());
    std::array<float, 4> parts = {};  // of the largest one, so that no square is out of range
    float squares = 0.0F;
    for (std::size_t k = 0; k < 4; ++k) {
        parts[k] = rotation[k] / *most;
        squares += parts[k] * parts[k];
    }
    const float scale =
        static_cast<float>(kRotationMagnitude) / (kLargestSmall * std::sqrt(squares));
    auto bits = static_cast<std::uint32_t>(largest);
    for (std::size_t k = 0; k < 4; ++k) {
        if (k == largest) continue;
        const float steps =
            std::min(std::abs(parts[k]) * scale, static_cast<float>(kRotationMagnitude));
        bits = bits << 1 | (parts[k] < 0.0F ? 1U : 0U);
        bits = bits << kMagnitudeBits | static_cast<std::uint32_t>(std::lround(steps));
    }
    return bits;
}

}  // namespace

SpzSizes SizesOf(int version, int degree) {
    const std::size_t functions = HarmonicsCount(degree) - 1;
    return {version == 1 ? std::size_t{6} : 9,
            1,
            3,
            3,
            version < 3 ? std::size_t{3} : 4,
            3 * functions};
}

void DecodeSpz(const SpzFacts& facts, const SpzPlaces<const std::byte>& places, std::size_t first,
               std::size_t count, std::size_t stride, float* rows) {
    const SpzSizes sizes = SizesOf(facts.version, facts.degree);
    const RowSigns signs = SignsOfRows(facts.axes, facts.degree);
    const RowTarget to = {rows, stride, signs};
    const auto from = [&](SpzAttribute attribute) {
        const auto place = static_cast<std::size_t>(attribute);
        return places[place] + first * sizes[place];
    };
    DecodePositions(facts, from(SpzAttribute::Positions), count, to);
    DecodeBytes(kColorValues, from(SpzAttribute::Colors), count, 3, kColorRow, to);
    DecodeBytes(kOpacityLogits, from(SpzAttribute::Opacities), count, 1, kOpacityRow, to);
    DecodeBytes(kLogScaleValues, from(SpzAttribute::Scales), count, 3, kScaleRow, to);
    DecodeRotations(facts.version, from(SpzAttribute::Rotations), count, to);
    DecodeHarmonics(from(SpzAttribute::Harmonics), count, HarmonicsCount(facts.degree) - 1, to);
}

int SuitableFractionalBits(const RawScene& scene) {
    float farthest = 0.0F;
    for (std::size_t k = 0; k < 3; ++k) {
        const float* const row = scene.Row(kPositionRow + k);
        for (std::size_t i = 0; i < scene.Count(); ++i) {
            farthest = std::max(farthest, std::abs(row[i]));
        }
    }
    int bits = kUsualFractionalBits;
    while (bits < kMostFractionalBits && std::ldexp(farthest, bits) < kEnoughSteps) ++bits;
    while (std::ldexp(farthest, bits) > static_cast<float>(kMostSpzPosition)) --bits;
    if (bits < 0) throw std::runtime_error("its positions reach too far for SPZ");
    return bits;
}

void EncodeSpz(const RawScene& scene, const SpzFacts& facts, const SpzPlaces<std::byte>& places,
               std::size_t first, std::size_t count) {
    const SpzSizes sizes = SizesOf(facts.version, facts.degree);
    const RowSigns signs = SignsOfRows(facts.axes, facts.degree);
    const auto at = [&](SpzAttribute attribute, std::size_t i) {
        const auto place = static_cast<std::size_t>(attribute);
        return places[place] + i * sizes[place];
    };
    const auto value = [&](std::size_t row, std::size_t i) {
        return scene.Row(row)[i] * signs[row];
    };
    const double steps = std::ldexp(1.0, facts.fractionalBits);
    const std::size_t functions = HarmonicsCount(facts.degree) - 1;
    for (std::size_t i = first; i < first + count; ++i) {
        for (std::size_t k = 0; k < 3; ++k) {
            const double position = value(kPositionRow + k, i) * steps;
            PutLittleEndian(static_cast<std::uint32_t>(std::lround(position)), 3,
                            at(SpzAttribute::Positions, i) + 3 * k);
            at(SpzAttribute::Colors, i)[k] =
                NearestByte(value(kColorRow + k, i) * kColorSteps + kColorZero);
            at(SpzAttribute::Scales, i)[k] =
                NearestByte((value(kScaleRow + k, i) - kSpzLeastLogScale) * kLogScaleSteps);
        }
        *at(SpzAttribute::Opacities, i) =
            NearestByte(kByteFull / (1.0F + std::exp(-value(kOpacityRow, i))));
        std::array<float, 4> rotation;
        for (std::size_t k = 0; k < 4; ++k) rotation[k] = value(kRotationRows[k], i);
        PutLittleEndian(PackedRotation(rotation), 4, at(SpzAttribute::Rotations, i));
        for (std::size_t k = 0; k < functions; ++k) {
            const long step = k < kDegree1Functions ? kDegree1Step : kHigherStep;
            for (std::size_t c = 0; c < 3; ++c) {
                at(SpzAttribute::Harmonics, i)[3 * k + c] =
                    HarmonicByte(value(kHarmonicsRow + c * functions + k, i), step);
            }
        }
    }
}

}  // namespace vistrel
