// SPDX-License-Identifier: GPL-3.0-or-later
// Numbers in the records of a PLY file.
#pragma once

#include <cstddef>
#include <span>
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

// All numbers of an element without lists whose first record begins at `place`, record by record;
// `count` of them, or nothing where it has another number. Throws std::runtime_error when the file
// is cut short.
[[nodiscard]] std::vector<double> ReadPlyNumbers(const InputFile& file, std::uint64_t place,
                                                 const PlyElement& element, bool isBigEndian,
                                                 std::size_t count);

}  // namespace vistrel
