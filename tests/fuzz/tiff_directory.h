// SPDX-License-Identifier: GPL-3.0-or-later
// Directories of a TIFF block with any entries, which EXIF is made of.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vistrel::fuzz {

struct TiffEntry {
    std::uint16_t tag = 0;
    std::uint16_t type = 0;
    std::uint32_t count = 0;
    std::string values;  // all of them, already in the byte order
};

// The block's first eight bytes; its first directory follows at once.
[[nodiscard]] std::string TiffStart(bool bigEndian);

// A directory at the offset `start` of its block; values of more than four bytes lie behind it.
// `next` is the offset of the directory that follows it, 0: none.
[[nodiscard]] std::string TiffDirectory(const std::vector<TiffEntry>& entries, bool bigEndian,
                                        std::uint32_t start = 8, std::uint32_t next = 0);

}  // namespace vistrel::fuzz
