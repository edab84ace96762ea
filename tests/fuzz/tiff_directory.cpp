// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/fuzz/tiff_directory.h"

#include <cstddef>

#include "tests/support/exif_bytes.h"

namespace vistrel::fuzz {

std::string TiffStart(bool bigEndian) {
    constexpr std::uint32_t kFirstDirectory = 8;
    return (bigEndian ? "MM" : "II") + test::ExifNumber(42, 2, bigEndian) +
           test::ExifNumber(kFirstDirectory, 4, bigEndian);
}

std::string TiffDirectory(const std::vector<TiffEntry>& entries, bool bigEndian,
                          std::uint32_t start, std::uint32_t next) {
    const auto number = [bigEndian](std::size_t value, int bytes) {
        return test::ExifNumber(static_cast<std::uint32_t>(value), bytes, bigEndian);
    };
    constexpr std::size_t kInEntry = 4;
    const std::size_t behindStart = start + 2 + (12 * entries.size()) + 4;
    std::string directory = number(entries.size(), 2);
    std::string behind;
    for (const TiffEntry& entry : entries) {
        directory += number(entry.tag, 2) + number(entry.type, 2) + number(entry.count, 4);
        if (entry.values.size() <= kInEntry) {
            directory += entry.values + std::string(kInEntry - entry.values.size(), '\0');
        } else {
            directory += number(behindStart + behind.size(), 4);
            behind += entry.values;
        }
    }
    return directory + number(next, 4) + behind;
}

}  // namespace vistrel::fuzz
