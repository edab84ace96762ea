// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/ksplat_section.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <span>
#include <stdexcept>
#include <string>

#include "formats/half_float.h"
#include "formats/scene_sink.h"
#include "formats/scene_values.h"

namespace vistrel {
namespace {

static_assert(std::endian::native == std::endian::little, "values are read as they lie in files");

constexpr int kMostKsplatDegree = 2;
constexpr std::size_t kBucketBytes = 12;
constexpr std::uint32_t kUsualSteps = 32767;

template <typename T>
T KsplatNumber(const std::byte* at) {
    T number;
    std::memcpy(&number, at, sizeof(number));
    return number;
}

// What differs between the levels of compression.
struct KsplatLevel {
    std::size_t numberBytes;  // of each number of centres, scales and rotations
    std::size_t harmonicBytes;
};
constexpr std::array kKsplatLevels = {KsplatLevel{4, 4}, KsplatLevel{2, 2}, KsplatLevel{2, 1}};
constexpr std::size_t kKsplatNumbers = 10;  // in a Gaussian, before the colour
constexpr std::size_t kKsplatColorBytes = 4;

}  // namespace

KsplatHeader ReadKsplatHeader(const InputFile& file) {
    if (file.Size() < kKsplatHeaderBytes) throw std::runtime_error("it is cut short");
    std::array<std::byte, 44> bytes{};
    file.Read(0, bytes);
    const auto major = std::to_integer<int>(bytes[0]);
    const auto minor = std::to_integer<int>(bytes[1]);
    if (major != 0 || minor < 1) {
        throw std::runtime_error("it is of version " + std::to_string(major) + "." +
                                 std::to_string(minor) + ", not 0.1, or no .ksplat file");
    }
    constexpr float kReach = 1.5F;
    const auto orElse = [](float value, float other) {
        return value == 0.0F || std::isnan(value) ? other : value;
    };
    KsplatHeader header;
    header.sections = KsplatNumber<std::uint32_t>(&bytes[4]);
    header.gaussians = KsplatNumber<std::uint32_t>(&bytes[16]);
    header.level = KsplatNumber<std::uint16_t>(&bytes[20]);
    header.leastHarmonic = orElse(KsplatNumber<float>(&bytes[36]), -kReach);
    header.mostHarmonic = orElse(KsplatNumber<float>(&bytes[40]), kReach);
    if (header.level >= kKsplatLevels.size()) {
        throw std::runtime_error("its level of compression is " + std::to_string(header.level) +
                                 ", more than 2");
    }
    return header;
}

KsplatSection::KsplatSection(const InputFile& file, const KsplatHeader& header,
                             std::uint64_t headerPlace, std::uint64_t place)
    : header_(header) {
    std::array<std::byte, 42> bytes{};
    file.Read(headerPlace, bytes);
    ParseHeader(bytes);
    const std::uint64_t tableBytes =
        kBucketBytes * std::uint64_t{buckets_} + sizeof(std::uint32_t) * std::uint64_t{partial_};
    dataPlace_ = place + tableBytes;
    const std::uint64_t end = dataPlace_ + std::uint64_t{room_} * RecordBytes();
    if (end > file.Size()) throw std::runtime_error("it is cut short");
    end_ = end;
    if (header.level > 0) ReadBuckets(file, place);
}

void KsplatSection::Decode(const InputFile& file, std::size_t first, std::size_t count, int degree,
                           float* rows) const {
    std::vector<std::byte> records(count * RecordBytes());
    file.Read(dataPlace_ + std::uint64_t{first} * RecordBytes(), records);
    std::size_t bucket = header_.level == 0 ? 0 : BucketOf(first);
    for (std::size_t i = 0; i < count; ++i) {
        const std::byte* const record = records.data() + i * RecordBytes();
        RawGaussian gaussian = GaussianOf(record);
        if (header_.level > 0) {
            while (first + i >= bucketEnds_[bucket]) ++bucket;
            Place(gaussian, bucket, record);
        }
        SetGaussian(gaussian, rows + i, kScenePiece);
        SetHarmonics(record, degree, rows + i);
    }
}

void KsplatSection::ParseHeader(const std::array<std::byte, 42>& bytes) {
    const auto number = [&bytes](std::size_t at) {
        return KsplatNumber<std::uint32_t>(&bytes[at]);
    };
    count_ = number(0);
    room_ = number(4);
    degree_ = KsplatNumber<std::uint16_t>(&bytes[40]);
    if (count_ > room_) throw std::runtime_error("it claims more Gaussians than have room");
    if (degree_ > kMostKsplatDegree) {
        throw std::runtime_error("it has harmonics of degree " + std::to_string(degree_) +
                                 ", more than the 2 of .ksplat files");
    }
    bucketSize_ = number(8);
    buckets_ = number(12);
    full_ = number(32);
    partial_ = number(36);
    const std::uint32_t steps = number(24) == 0 ? kUsualSteps : number(24);
    steps_ = static_cast<float>(steps);
    step_ = KsplatNumber<float>(&bytes[16]) / 2.0F / steps_;
    if (buckets_ > 0 && KsplatNumber<std::uint16_t>(&bytes[20]) != kBucketBytes) {
        throw std::runtime_error("its buckets are not of 12 bytes");
    }
    if (std::uint64_t{full_} + partial_ > buckets_) {
        throw std::runtime_error("it has fewer buckets than it fills");
    }
}

// The table is within the file.
void KsplatSection::ReadBuckets(const InputFile& file, std::uint64_t place) {
    std::vector<std::uint32_t> lengths(partial_);
    file.Read(place, std::as_writable_bytes(std::span(lengths)));
    centres_.resize(buckets_);
    file.Read(place + sizeof(std::uint32_t) * std::uint64_t{partial_},
              std::as_writable_bytes(std::span(centres_)));
    bucketEnds_.reserve(std::size_t{full_} + partial_);
    std::uint64_t end = 0;
    for (std::uint32_t i = 0; i < full_; ++i) bucketEnds_.push_back(end += bucketSize_);
    for (const std::uint32_t length : lengths) bucketEnds_.push_back(end += length);
    if (end < count_) {
        throw std::runtime_error("its buckets hold " + std::to_string(end) +
                                 " Gaussians, but it claims " + std::to_string(count_));
    }
}

std::size_t KsplatSection::BucketOf(std::size_t place) const {
    return static_cast<std::size_t>(std::ranges::upper_bound(bucketEnds_, place) -
                                    bucketEnds_.begin());
}

std::size_t KsplatSection::ColorOffset() const {
    return kKsplatNumbers * kKsplatLevels[header_.level].numberBytes;
}
std::size_t KsplatSection::HarmonicsOffset() const {
    return ColorOffset() + kKsplatColorBytes;
}
std::size_t KsplatSection::RecordBytes() const {
    return HarmonicsOffset() +
           (RawValues(degree_) - kRawValues) * kKsplatLevels[header_.level].harmonicBytes;
}

// A number of a float's bytes at level 0, else of a binary16's.
float KsplatSection::NumberAt(const std::byte* record, std::size_t index) const {
    return header_.level == 0 ? KsplatNumber<float>(record + 4 * index)
                              : FloatOfHalf(KsplatNumber<std::uint16_t>(record + 2 * index));
}

RawGaussian KsplatSection::GaussianOf(const std::byte* record) const {
    RawGaussian gaussian{};
    const std::byte* const color = record + ColorOffset();
    const auto share = [color](std::size_t i) {
        return Unquantised(std::to_integer<std::uint32_t>(color[i]), 8);
    };
    for (std::size_t axis = 0; axis < 3; ++axis) {
        gaussian.position[axis] = NumberAt(record, axis);
        gaussian.logScale[axis] = std::log(NumberAt(record, 3 + axis));
        gaussian.colorDc[axis] = DcOfSrgb(share(axis));
    }
    gaussian.opacityLogit = LogitOfOpacity(share(3));
    for (std::size_t k = 0; k < 4; ++k) gaussian.rotation[k] = NumberAt(record, 6 + k);
    return gaussian;
}

// The position at levels 1 and 2.
void KsplatSection::Place(RawGaussian& gaussian, std::size_t bucket,
                          const std::byte* record) const {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const auto steps =
            static_cast<float>(KsplatNumber<std::uint16_t>(record + 2 * axis)) - steps_;
        gaussian.position[axis] = steps * step_ + centres_[bucket][axis];
    }
}

float KsplatSection::HarmonicAt(const std::byte* record, std::size_t index) const {
    const std::byte* const at = record + HarmonicsOffset();
    if (header_.level < 2) return NumberAt(at, index);
    const float share = Unquantised(std::to_integer<std::uint32_t>(at[index]), 8);
    return header_.leastHarmonic + share * (header_.mostHarmonic - header_.leastHarmonic);
}

void KsplatSection::SetHarmonics(const std::byte* record, int degree, float* values) const {
    const std::size_t perColor = HarmonicsCount(degree) - 1;
    std::size_t index = 0;
    for (int band = 1; band <= degree; ++band) {
        const std::size_t begin = HarmonicsCount(band - 1) - 1;
        const std::size_t end = HarmonicsCount(band) - 1;
        for (std::size_t color = 0; color < 3; ++color) {
            for (std::size_t k = begin; k < end; ++k) {
                const float value = band <= degree_ ? HarmonicAt(record, index++) : 0.0F;
                values[(kHarmonicsRow + color * perColor + k) * kScenePiece] = value;
            }
        }
    }
}

}  // namespace vistrel
