// SPDX-License-Identifier: GPL-3.0-or-later
// Zip archives, as far as bundles of a scene's files need them.
//
// The layout is that of PKWARE's APPNOTE.TXT 6.3; integers are unsigned and little-endian.
//
// Front to back: for each entry a local header and its content, then the central directory, then
// its end. Of the directory's end, 22 bytes and a comment of up to 65,535 bytes:
//
//   offset  bytes  meaning
//        0      4  0x06054b50
//        8      2  number of entries in this file (those of the archive: the same, at 10)
//       12      4  bytes of the central directory
//       16      4  position of the central directory in the file
//       20      2  bytes of the comment
//
// Of an entry of the directory, 46 bytes, then name, extra field and comment:
//
//        0      4  0x02014b50
//        8      2  flags: 0x0001 encrypted, 0x0008 sizes behind the content, 0x0800 UTF-8 name
//       10      2  method: 0 stored, 8 deflate
//       16      4  CRC-32 of the content
//       20      4  bytes in the file
//       24      4  bytes of the content
//       28      2  bytes of the name; 30: of the extra field; 32: of the comment
//       42      4  position of the local header
//
// Of a local header, 30 bytes, then name and extra field:
//
//        0      4  0x04034b50
//        4     22  as from 6 on in the directory; sizes and CRC are taken from there alone
//       26      2  bytes of the name; 28: of the extra field
//
// Archives whose numbers need 64 bits (with 0xffff or 0xffffffff in their places) are refused, and
// so are encrypted ones, other methods, and entries that share bytes of the file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/input_file.h"
#include "formats/byte_sink.h"

namespace vistrel {

struct ZipEntry {
    std::string name;
    std::uint32_t method = 0;
    std::uint32_t crc = 0;
    std::uint32_t storedBytes = 0;   // in the file
    std::uint32_t contentBytes = 0;  // unpacked
    std::uint64_t header = 0;        // position of the local header
    std::uint64_t data = 0;          // position of the stored bytes
};

// One object is for any number of threads.
class ZipArchive {
  public:
    // Whether the file begins as archives with entries do.
    [[nodiscard]] static bool IsOne(const InputFile& file);

    // Reads the directory, from a file that outlives this object. Throws std::runtime_error for
    // one that is damaged, and for entries that claim more than deflate can hold.
    explicit ZipArchive(const InputFile& file);

    // In the order of the directory.
    [[nodiscard]] const std::vector<ZipEntry>& Entries() const { return entries_; }

    // Null where there is none of this name.
    [[nodiscard]] const ZipEntry* Find(std::string_view name) const;

    // The content of an entry. Throws std::runtime_error when it is damaged or larger than `most`,
    // before there is memory for it.
    [[nodiscard]] std::vector<std::byte> Content(const ZipEntry& entry, std::size_t most) const;

  private:
    const InputFile& file_;
    std::vector<ZipEntry> entries_;
};

// Writes an archive of stored entries. One object is for one thread.
class ZipWriter {
  public:
    explicit ZipWriter(ByteSink& sink) : sink_(sink) {}

    // Throws what the sink throws, and std::runtime_error once the archive would pass 4 GiB.
    void Add(std::string_view name, std::span<const std::byte> content);

    // Writes the directory; nothing may be added after that. Throws as Add does.
    void Finish();

  private:
    void Write(const std::string& bytes);

    ByteSink& sink_;
    std::uint64_t position_ = 0;
    std::uint32_t count_ = 0;
    std::string directory_;
};

}  // namespace vistrel
