// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/packed_gaussian.h"

#include <algorithm>
#include <cmath>

#include "formats/scene_values.h"

namespace vistrel {
namespace {

// Places in a PackedGaussian.
constexpr std::size_t kPackedPosition = 0;
constexpr std::size_t kPackedRotation = 1;
constexpr std::size_t kPackedScale = 2;
constexpr std::size_t kPackedColor = 3;

// Bits and places of the three values of positions and scales.
constexpr std::array kVectorBits = {11, 10, 11};
constexpr std::array kVectorShifts = {21, 11, 0};

// Bits and places of the three colours; opacity has the lowest.
constexpr int kByteBits = 8;
constexpr std::array kColorShifts = {24, 16, 8};

// Those of the parts of a rotation that are not the largest, which two bits tell.
constexpr int kPartBits = 10;
constexpr std::array kPartShifts = {20, 10, 0};
constexpr int kLargestShift = 30;
constexpr double kMostPart = 0.70710678118654752;  // of those

constexpr float kLeastPackedLogScale = -20.0F;
constexpr float kMostLogScale = 20.0F;

// Harmonics are in -kHarmonicsReach..kHarmonicsReach.
constexpr float kHarmonicsReach = 4.0F;
constexpr float kHarmonicsSteps = 256.0F;

// The values of a range, of which the least ones begin at `range`.
float InChunkRange(const float* range, std::size_t axis, float share) {
    return range[axis] * (1.0F - share) + range[axis + 3] * share;
}

std::array<float, 3> UnpackVector(std::uint32_t word, const float* range) {
    std::array<float, 3> vector{};
    for (std::size_t axis = 0; axis < vector.size(); ++axis) {
        const float share = Unquantised(word >> kVectorShifts[axis], kVectorBits[axis]);
        vector[axis] = InChunkRange(range, axis, share);
    }
    return vector;
}

std::array<float, 3> UnpackColor(std::uint32_t word, const float* range) {
    std::array<float, 3> color{};
    for (std::size_t axis = 0; axis < color.size(); ++axis) {
        const float share = Unquantised(word >> kColorShifts[axis], kByteBits);
        color[axis] = DcOfSrgb(InChunkRange(range, axis, share));
    }
    return color;
}

std::array<float, 4> UnpackRotation(std::uint32_t word) {
    const std::size_t largest = word >> kLargestShift;
    std::array<float, 4> rotation{};
    float squares = 0.0F;
    std::size_t part = 0;
    for (std::size_t k = 0; k < rotation.size(); ++k) {
        if (k == largest) continue;
        const float share = Unquantised(word >> kPartShifts[part++], kPartBits);
        rotation[k] = (2.0F * share - 1.0F) * static_cast<float>(kMostPart);
        squares += rotation[k] * rotation[k];
    }
    rotation[largest] = std::sqrt(std::max(0.0F, 1.0F - squares));
    return rotation;
}

std::uint32_t PackRotation(const std::array<double, 4>& rotation) {
    const auto isSmaller = [](double a, double b) { return std::abs(a) < std::abs(b); };
    const auto largest = static_cast<std::uint32_t>(std::ranges::max_element(rotation, isSmaller) -
                                                    rotation.begin());
    const double sign = rotation[largest] < 0.0 ? -1.0 : 1.0;
    std::uint32_t word = largest << kLargestShift;
    std::size_t part = 0;
    for (std::size_t k = 0; k < rotation.size(); ++k) {
        if (k == largest) continue;
        const double share = (sign * rotation[k] / kMostPart + 1.0) / 2.0;
        word |= Quantised(share, kPartBits) << kPartShifts[part++];
    }
    return word;
}

}  // namespace

RawGaussian UnpackGaussian(const PackedGaussian& packed, const ChunkRanges& ranges) {
    RawGaussian gaussian{};
    gaussian.position = UnpackVector(packed[kPackedPosition], ranges.data() + kPositionRange);
    gaussian.colorDc = UnpackColor(packed[kPackedColor], ranges.data() + kColorRange);
    gaussian.opacityLogit = LogitOfOpacity(Unquantised(packed[kPackedColor], kByteBits));
    gaussian.logScale = UnpackVector(packed[kPackedScale], ranges.data() + kScaleRange);
    gaussian.rotation = UnpackRotation(packed[kPackedRotation]);
    return gaussian;
}

ChunkPacker::ChunkPacker(const RawScene& scene, std::span<const std::uint32_t> places)
    : scene_(scene), places_(places) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        Gather(kPositionRow + axis, kPositionRange + axis, [](float value) { return value; });
        Gather(kScaleRow + axis, kScaleRange + axis,
               [](float value) { return std::clamp(value, kLeastPackedLogScale, kMostLogScale); });
        Gather(kColorRow + axis, kColorRange + axis, SrgbOfDc);
    }
}

template <typename Convert>
void ChunkPacker::Gather(std::size_t row, std::size_t range, const Convert& convert) {
    const float* const from = scene_.Row(row);
    Values& values = values_[range];
    for (std::size_t i = 0; i < places_.size(); ++i) values[i] = convert(from[places_[i]]);
    const auto used = std::span(values).first(places_.size());
    const auto [least, most] = std::ranges::minmax_element(used);
    ranges_[range] = *least;
    ranges_[range + 3] = *most;
}

std::uint32_t ChunkPacker::Share(std::size_t range, std::size_t i, int bits) const {
    const auto least = static_cast<double>(ranges_[range]);
    const double extent = static_cast<double>(ranges_[range + 3]) - least;
    if (!(extent > 0.0)) return 0;
    return Quantised((static_cast<double>(values_[range][i]) - least) / extent, bits);
}

PackedGaussian ChunkPacker::Packed(std::size_t i) const {
    PackedGaussian packed{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const auto vector = [&](std::size_t range) {
            return Share(range + axis, i, kVectorBits[axis]) << kVectorShifts[axis];
        };
        packed[kPackedPosition] |= vector(kPositionRange);
        packed[kPackedScale] |= vector(kScaleRange);
        packed[kPackedColor] |= Share(kColorRange + axis, i, kByteBits) << kColorShifts[axis];
    }
    const float opacity = OpacityOfLogit(scene_.Row(kOpacityRow)[places_[i]]);
    packed[kPackedColor] |= Quantised(static_cast<double>(opacity), kByteBits);
    packed[kPackedRotation] = PackRotation(UnitRotation(scene_, places_[i]));
    return packed;
}

float HarmonicOfByte(std::uint8_t byte) {
    if (byte == 0) return -kHarmonicsReach;
    if (byte == UINT8_MAX) return kHarmonicsReach;
    const float share = (static_cast<float>(byte) + 0.5F) / kHarmonicsSteps;
    return (2.0F * share - 1.0F) * kHarmonicsReach;
}

std::uint8_t ByteOfHarmonic(float value) {
    const float share = (value / kHarmonicsReach + 1.0F) / 2.0F;
    return static_cast<std::uint8_t>(
        std::clamp(std::floor(share * kHarmonicsSteps), 0.0F, kHarmonicsSteps - 1.0F));
}

}  // namespace vistrel
