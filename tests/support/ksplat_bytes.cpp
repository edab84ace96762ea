// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/ksplat_bytes.h"

#include <bit>
#include <cstring>

namespace vistrel::test {
namespace {

template <typename T>
void Put(std::string& bytes, std::size_t at, T number) {
    std::memcpy(bytes.data() + at, &number, sizeof(number));
}

template <typename T>
void Add(std::string& bytes, T number) {
    bytes.resize(bytes.size() + sizeof(number));
    Put(bytes, bytes.size() - sizeof(number), number);
}

// Of zero or a number that a binary16 holds exactly, and not as a subnormal one.
std::uint16_t HalfOf(float value) {
    const auto bits = std::bit_cast<std::uint32_t>(value);
    if (value == 0.0F) return 0;
    const std::uint32_t rest = ((bits & 0x7FFFFFFFU) - (112U << 23)) >> 13;
    return static_cast<std::uint16_t>((bits >> 16 & 0x8000U) | rest);
}

void AddNumber(std::string& bytes, std::uint16_t level, float number) {
    if (level == 0) {
        Add(bytes, number);
    } else {
        Add(bytes, HalfOf(number));
    }
}

void AddGaussian(std::string& bytes, std::uint16_t level, const KsplatGaussian& gaussian) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (level == 0) {
            Add(bytes, gaussian.position[axis]);
        } else {
            Add(bytes, gaussian.steps[axis]);
        }
    }
    for (const float number : gaussian.scale) AddNumber(bytes, level, number);
    for (const float number : gaussian.rotation) AddNumber(bytes, level, number);
    for (const std::uint8_t byte : gaussian.color) Add(bytes, byte);
    if (level == 2) {
        for (const std::uint8_t byte : gaussian.harmonicBytes) Add(bytes, byte);
    } else {
        for (const float number : gaussian.harmonics) AddNumber(bytes, level, number);
    }
}

std::string SectionHeader(const KsplatSectionParts& section) {
    std::string bytes(1024, '\0');
    const auto count = static_cast<std::uint32_t>(section.gaussians.size());
    Put(bytes, 0, count);
    Put(bytes, 4, count);
    Put(bytes, 8, section.bucketSize);
    Put(bytes, 12, static_cast<std::uint32_t>(section.centres.size()));
    Put(bytes, 16, section.bucketSide);
    Put(bytes, 20, std::uint16_t{12});
    Put(bytes, 24, section.steps);
    Put(bytes, 32, section.fullBuckets);
    Put(bytes, 36, static_cast<std::uint32_t>(section.partialBuckets.size()));
    Put(bytes, 40, section.degree);
    return bytes;
}

}  // namespace

std::string KsplatBytes(const KsplatParts& parts) {
    std::string bytes(4096, '\0');
    const auto sections = static_cast<std::uint32_t>(parts.sections.size());
    std::uint32_t count = 0;
    for (const KsplatSectionParts& section : parts.sections) {
        count += static_cast<std::uint32_t>(section.gaussians.size());
    }
    Put(bytes, 1, std::uint8_t{1});
    Put(bytes, 4, sections);
    Put(bytes, 8, sections);
    Put(bytes, 12, count);
    Put(bytes, 16, count);
    Put(bytes, 20, parts.level);
    Put(bytes, 36, parts.leastHarmonic);
    Put(bytes, 40, parts.mostHarmonic);
    for (const KsplatSectionParts& section : parts.sections) bytes += SectionHeader(section);
    for (const KsplatSectionParts& section : parts.sections) {
        for (const std::uint32_t length : section.partialBuckets) Add(bytes, length);
        for (const auto& centre : section.centres) Add(bytes, centre);
        for (const KsplatGaussian& gaussian : section.gaussians) {
            AddGaussian(bytes, parts.level, gaussian);
        }
    }
    return bytes;
}

}  // namespace vistrel::test
