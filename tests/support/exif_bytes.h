// SPDX-License-Identifier: GPL-3.0-or-later
// EXIF blocks, whole or damaged, and pictures that carry them.
#pragma once

#include <cstdint>
#include <string>

namespace vistrel::test {

inline constexpr std::uint16_t kExifByte = 1;
inline constexpr std::uint16_t kExifShort = 3;
inline constexpr std::uint16_t kExifLong = 4;
inline constexpr std::uint16_t kExifSignedShort = 8;

// The lowest bytes of a number in the byte order of a block.
[[nodiscard]] std::string ExifNumber(std::uint32_t value, int bytes, bool bigEndian);

struct ExifEntry {
    std::uint16_t tag = 0x0112;  // Orientation
    std::uint16_t type = kExifShort;
    std::uint32_t count = 1;
    std::string value;  // the entry's four bytes of value or offset, already in the byte order
    bool bigEndian = false;
};

// The entry with one SHORT.
[[nodiscard]] ExifEntry OrientationEntry(std::uint16_t value, bool bigEndian = false);

// A TIFF structure with this one entry; `behind` follows the directory, at offset 26.
[[nodiscard]] std::string TiffBlock(const ExifEntry& entry, const std::string& behind = {});

// `jpeg` with an APP1 segment behind its first marker that holds `tiff`.
[[nodiscard]] std::string JpegWithExif(const std::string& jpeg, const std::string& tiff);

}  // namespace vistrel::test
