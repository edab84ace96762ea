// SPDX-License-Identifier: GPL-3.0-or-later
// Numbers in the records of a PLY file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "formats/ply_header.h"

namespace vistrel {

// The number at `at`, which need not be aligned.
[[nodiscard]] double PlyValue(const std::byte* at, PlyType type, bool isBigEndian);

// Records without lists in memory.
struct PlyRecords {
    const std::byte* data = nullptr;
    std::size_t count = 0;
    std::size_t bytes = 0;  // of each
    bool isBigEndian = false;
};

// The property's numbers in all the records as floats.
void ReadPlyColumn(const PlyRecords& records, const PlyProperty& property, float* values);

// The bits of a property of 4 bytes in all the records.
void ReadPlyWords(const PlyRecords& records, const PlyProperty& property, std::uint32_t* words);

// All numbers of an element without lists whose first record begins at `place`, record by record;
// `count` of them, or nothing where it has another number. Throws std::runtime_error when the file
// is cut short.
[[nodiscard]] std::vector<double> ReadPlyNumbers(const InputFile& file, std::uint64_t place,
                                                 const PlyElement& element, bool isBigEndian,
                                                 std::size_t count);

// The degree of harmonics with so many coefficients f_rest. Throws std::runtime_error where that is
// not a degree of 0 to kMostHarmonicsDegree.
[[nodiscard]] int DegreeOfRest(std::size_t coefficients);

}  // namespace vistrel
