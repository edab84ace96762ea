// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/ply_values.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>

#include "formats/raw_scene.h"

namespace vistrel {
namespace {

static_assert(std::endian::native == std::endian::little, "values are read as they lie in files");

template <typename T, bool kSwapped>
T LoadPly(const std::byte* at) {
    std::array<std::byte, sizeof(T)> bytes;
    std::memcpy(bytes.data(), at, sizeof(T));
    if constexpr (kSwapped) std::ranges::reverse(bytes);
    return std::bit_cast<T>(bytes);
}

template <typename T, bool kSwapped>
struct PlyLoader {
    static double Value(const std::byte* at) {
        return static_cast<double>(LoadPly<T, kSwapped>(at));
    }

    static void Column(const PlyRecords& records, std::size_t offset, float* values) {
        const std::byte* from = records.data + offset;
        for (std::size_t i = 0; i < records.count; ++i, from += records.bytes) {
            values[i] = static_cast<float>(LoadPly<T, kSwapped>(from));
        }
    }
};

struct PlyLoading {
    double (*value)(const std::byte* at);
    void (*column)(const PlyRecords& records, std::size_t offset, float* values);
};

template <typename T>
constexpr std::array<PlyLoading, 2> kLoadingOf = {
    PlyLoading{PlyLoader<T, false>::Value, PlyLoader<T, false>::Column},
    PlyLoading{PlyLoader<T, true>::Value, PlyLoader<T, true>::Column}};

const PlyLoading& LoadingOf(PlyType type, bool isBigEndian) {
    // In the order of PlyType.
    static constexpr std::array kLoadings = {kLoadingOf<std::int8_t>,  kLoadingOf<std::uint8_t>,
                                             kLoadingOf<std::int16_t>, kLoadingOf<std::uint16_t>,
                                             kLoadingOf<std::int32_t>, kLoadingOf<std::uint32_t>,
                                             kLoadingOf<float>,        kLoadingOf<double>};
    return kLoadings[static_cast<std::size_t>(type)][isBigEndian ? 1 : 0];
}

}  // namespace

double PlyValue(const std::byte* at, PlyType type, bool isBigEndian) {
    return LoadingOf(type, isBigEndian).value(at);
}

void ReadPlyColumn(const PlyRecords& records, const PlyProperty& property, float* values) {
    LoadingOf(property.type, records.isBigEndian).column(records, property.offset, values);
}

void ReadPlyWords(const PlyRecords& records, const PlyProperty& property, std::uint32_t* words) {
    const std::byte* from = records.data + property.offset;
    for (std::size_t i = 0; i < records.count; ++i, from += records.bytes) {
        words[i] = records.isBigEndian ? LoadPly<std::uint32_t, true>(from)
                                       : LoadPly<std::uint32_t, false>(from);
    }
}

std::vector<double> ReadPlyNumbers(const InputFile& file, std::uint64_t place,
                                   const PlyElement& element, bool isBigEndian, std::size_t count) {
    if (element.count * element.properties.size() != count) return {};
    std::vector<std::byte> bytes(static_cast<std::size_t>(element.count) * element.bytes);
    file.Read(place, bytes);
    std::vector<double> numbers;
    for (std::size_t record = 0; record < bytes.size(); record += element.bytes) {
        for (const PlyProperty& property : element.properties) {
            numbers.push_back(
                PlyValue(bytes.data() + record + property.offset, property.type, isBigEndian));
        }
    }
    return numbers;
}

int DegreeOfRest(std::size_t coefficients) {
    int degree = 0;
    while (RawValues(degree) < kRawValues + coefficients) ++degree;
    if (RawValues(degree) != kRawValues + coefficients) {
        throw std::runtime_error("it has " + std::to_string(coefficients) +
                                 " coefficients f_rest, not 0, 9, 24 or 45");
    }
    if (degree > kMostHarmonicsDegree) {
        throw std::runtime_error("it has harmonics of degree " + std::to_string(degree) +
                                 ", more than " + std::to_string(kMostHarmonicsDegree));
    }
    return degree;
}

}  // namespace vistrel
