// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/exif_bytes.h"

#include <cstddef>

namespace vistrel::test {

using namespace std::string_literals;

std::string ExifNumber(std::uint32_t value, int bytes, bool bigEndian) {
    std::string text;
    for (int i = 0; i < bytes; ++i) {
        const int shift = 8 * (bigEndian ? bytes - 1 - i : i);
        text += static_cast<char>((value >> static_cast<unsigned>(shift)) & 255U);
    }
    return text;
}

ExifEntry OrientationEntry(std::uint16_t value, bool bigEndian) {
    ExifEntry entry;
    entry.bigEndian = bigEndian;
    entry.value = ExifNumber(value, 2, bigEndian) + "\0\0"s;
    return entry;
}

std::string TiffBlock(const ExifEntry& entry, const std::string& behind) {
    const bool big = entry.bigEndian;
    constexpr std::uint32_t kFirstDirectory = 8;
    return (big ? "MM"s : "II"s) + ExifNumber(42, 2, big) + ExifNumber(kFirstDirectory, 4, big) +
           ExifNumber(1, 2, big) + ExifNumber(entry.tag, 2, big) + ExifNumber(entry.type, 2, big) +
           ExifNumber(entry.count, 4, big) + entry.value + ExifNumber(0, 4, big) + behind;
}

std::string JpegWithExif(const std::string& jpeg, const std::string& tiff) {
    const std::string content = "Exif\0\0"s + tiff;
    const auto length = static_cast<std::uint32_t>(content.size() + 2);
    constexpr std::size_t kStart = 2;
    return jpeg.substr(0, kStart) + "\xFF\xE1"s + ExifNumber(length, 2, true) + content +
           jpeg.substr(kStart);
}

}  // namespace vistrel::test
