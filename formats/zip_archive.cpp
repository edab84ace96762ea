// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/zip_archive.h"

#include <algorithm>
#include <stdexcept>

#include "formats/deflate.h"

namespace vistrel {
namespace {

constexpr std::uint32_t kLocalMark = 0x04034b50;
constexpr std::uint32_t kDirectoryMark = 0x02014b50;
constexpr std::uint32_t kEndMark = 0x06054b50;
constexpr std::size_t kLocalBytes = 30;
constexpr std::size_t kDirectoryBytes = 46;
constexpr std::size_t kEndBytes = 22;
constexpr std::size_t kLongestComment = 0xffff;

constexpr std::uint32_t kStored = 0;
constexpr std::uint32_t kDeflate = 8;
constexpr std::uint32_t kEncrypted = 0x0001;
constexpr std::uint32_t kUtf8Name = 0x0800;
constexpr std::uint32_t kVersion = 20;             // 2.0, what deflate and folders need
constexpr std::uint32_t kFirstDay = (1 << 5) | 1;  // 1980-01-01, so that files do not tell a time

constexpr std::uint32_t kNot16 = 0xffff;
constexpr std::uint32_t kNot32 = 0xffffffff;

// The longest match of deflate, 258 bytes, takes at least two bits.
constexpr std::uint64_t kMostDeflate = 1032;

[[noreturn]] void RefuseArchive(const char* reason) {
    throw std::runtime_error(reason);
}

// Integers of the archive from a position on, whose bytes are known to be there.
std::uint32_t Zip16(std::span<const std::byte> bytes, std::size_t at) {
    return std::to_integer<std::uint32_t>(bytes[at]) |
           (std::to_integer<std::uint32_t>(bytes[at + 1]) << 8U);
}

std::uint32_t Zip32(std::span<const std::byte> bytes, std::size_t at) {
    return Zip16(bytes, at) | (Zip16(bytes, at + 2) << 16U);
}

std::vector<std::byte> ZipBytes(const InputFile& file, std::uint64_t position, std::size_t count) {
    std::vector<std::byte> bytes(count);
    file.Read(position, bytes);
    return bytes;
}

std::string ZipText(std::span<const std::byte> bytes, std::size_t at, std::size_t count) {
    return {reinterpret_cast<const char*>(bytes.data()) + at, count};
}

// Where the central directory is.
struct ZipDirectory {
    std::uint64_t position = 0;
    std::size_t bytes = 0;
    std::size_t count = 0;
};

ZipDirectory FindZipDirectory(const InputFile& file) {
    const auto tailBytes =
        static_cast<std::size_t>(std::min<std::uint64_t>(file.Size(), kEndBytes + kLongestComment));
    const std::uint64_t tailStart = file.Size() - tailBytes;
    const std::vector<std::byte> tail = ZipBytes(file, tailStart, tailBytes);
    for (std::size_t at = tailBytes; at-- > 0;) {
        if (tailBytes - at < kEndBytes || Zip32(tail, at) != kEndMark) continue;
        if (Zip16(tail, at + 20) != tailBytes - at - kEndBytes) continue;
        const ZipDirectory found = {Zip32(tail, at + 16), Zip32(tail, at + 12),
                                    Zip16(tail, at + 8)};
        if (found.count == kNot16 || found.bytes == kNot32 || found.position == kNot32) {
            RefuseArchive("it is a zip archive of the 64-bit kind");
        }
        if (Zip16(tail, at + 10) != found.count || found.bytes > tailStart + at ||
            found.position > tailStart + at - found.bytes) {
            RefuseArchive("its zip directory is damaged");
        }
        return found;
    }
    RefuseArchive("it is cut short: its zip directory is missing");
}

// Takes an entry from the front of what is left of the directory.
ZipEntry TakeEntry(std::span<const std::byte>& left) {
    if (left.size() < kDirectoryBytes || Zip32(left, 0) != kDirectoryMark) {
        RefuseArchive("its zip directory is damaged");
    }
    const std::size_t nameBytes = Zip16(left, 28);
    const std::size_t bytes = kDirectoryBytes + nameBytes + Zip16(left, 30) + Zip16(left, 32);
    if (left.size() < bytes) RefuseArchive("its zip directory is damaged");
    ZipEntry entry = {.name = ZipText(left, kDirectoryBytes, nameBytes),
                      .method = Zip16(left, 10),
                      .crc = Zip32(left, 16),
                      .storedBytes = Zip32(left, 20),
                      .contentBytes = Zip32(left, 24),
                      .header = Zip32(left, 42)};
    if (entry.storedBytes == kNot32 || entry.contentBytes == kNot32 || entry.header == kNot32) {
        RefuseArchive("it is a zip archive of the 64-bit kind");
    }
    if ((Zip16(left, 8) & kEncrypted) != 0) RefuseArchive("its zip archive is encrypted");
    left = left.subspan(bytes);
    return entry;
}

// Finds the content behind the local header, before `end`.
void Locate(ZipEntry& entry, const InputFile& file, std::uint64_t end) {
    if (end < kLocalBytes || entry.header > end - kLocalBytes) {
        RefuseArchive("an entry of its zip archive is cut short");
    }
    const std::vector<std::byte> header = ZipBytes(file, entry.header, kLocalBytes);
    entry.data = entry.header + kLocalBytes + Zip16(header, 26) + Zip16(header, 28);
    if (Zip32(header, 0) != kLocalMark || Zip16(header, 26) != entry.name.size() ||
        Zip16(header, 8) != entry.method) {
        RefuseArchive("an entry of its zip archive is damaged");
    }
    if (entry.data > end || entry.storedBytes > end - entry.data) {
        RefuseArchive("an entry of its zip archive is cut short");
    }
    const std::vector<std::byte> name =
        ZipBytes(file, entry.header + kLocalBytes, entry.name.size());
    if (ZipText(name, 0, name.size()) != entry.name) {
        RefuseArchive("an entry of its zip archive is damaged");
    }
}

void CheckSizes(const ZipEntry& entry) {
    if (entry.method == kStored) {
        if (entry.contentBytes != entry.storedBytes) {
            RefuseArchive("an entry of its zip archive is damaged");
        }
    } else if (entry.method != kDeflate) {
        RefuseArchive("its zip archive is packed in a way that is not read");
    } else if (entry.contentBytes > entry.storedBytes * kMostDeflate) {
        RefuseArchive("an entry of its zip archive claims more than it can hold");
    }
}

void RefuseSharedBytes(const std::vector<ZipEntry>& entries) {
    std::vector<const ZipEntry*> inFile;
    inFile.reserve(entries.size());
    for (const ZipEntry& entry : entries) inFile.push_back(&entry);
    std::ranges::sort(inFile, {}, &ZipEntry::header);
    for (std::size_t i = 1; i < inFile.size(); ++i) {
        if (inFile[i - 1]->data + inFile[i - 1]->storedBytes > inFile[i]->header) {
            RefuseArchive("entries of its zip archive overlap");
        }
    }
}

void PutZip16(std::string& bytes, std::uint32_t number) {
    bytes.push_back(static_cast<char>(number & 0xffU));
    bytes.push_back(static_cast<char>((number >> 8U) & 0xffU));
}

void PutZip32(std::string& bytes, std::uint32_t number) {
    PutZip16(bytes, number & 0xffffU);
    PutZip16(bytes, number >> 16U);
}

std::uint32_t ZipNumber(std::uint64_t number) {
    if (number >= kNot32) RefuseArchive("the file would be larger than 4 GiB");
    return static_cast<std::uint32_t>(number);
}

// What local header and directory both say of a stored entry, from the version on.
void PutZipFacts(std::string& bytes, std::string_view name, std::uint32_t crc, std::uint32_t size) {
    PutZip16(bytes, kVersion);
    PutZip16(bytes, kUtf8Name);
    PutZip16(bytes, kStored);
    PutZip16(bytes, 0);  // midnight
    PutZip16(bytes, kFirstDay);
    PutZip32(bytes, crc);
    PutZip32(bytes, size);
    PutZip32(bytes, size);
    PutZip16(bytes, static_cast<std::uint32_t>(name.size()));
    PutZip16(bytes, 0);  // no extra field
}

}  // namespace

bool ZipArchive::IsOne(const InputFile& file) {
    return file.Size() >= kLocalBytes && Zip32(ZipBytes(file, 0, 4), 0) == kLocalMark;
}

ZipArchive::ZipArchive(const InputFile& file) : file_(file) {
    const ZipDirectory directory = FindZipDirectory(file);
    const std::vector<std::byte> bytes = ZipBytes(file, directory.position, directory.bytes);
    std::span<const std::byte> left = bytes;
    entries_.reserve(std::min(directory.count, directory.bytes / kDirectoryBytes));
    for (std::size_t i = 0; i < directory.count; ++i) {
        entries_.push_back(TakeEntry(left));
        Locate(entries_.back(), file, directory.position);
        CheckSizes(entries_.back());
    }
    RefuseSharedBytes(entries_);
}

const ZipEntry* ZipArchive::Find(std::string_view name) const {
    const auto found = std::ranges::find(entries_, name, &ZipEntry::name);
    return found == entries_.end() ? nullptr : &*found;
}

std::vector<std::byte> ZipArchive::Content(const ZipEntry& entry, std::size_t most) const {
    if (entry.contentBytes > most) {
        RefuseArchive("an entry of its zip archive is larger than it can be");
    }
    std::vector<std::byte> content = ZipBytes(file_, entry.data, entry.storedBytes);
    if (entry.method == kDeflate) content = UnpackDeflate(content, entry.contentBytes);
    if (Crc32(content) != entry.crc) RefuseArchive("an entry of its zip archive is damaged");
    return content;
}

void ZipWriter::Write(const std::string& bytes) {
    sink_.Append(bytes);
    position_ += bytes.size();
}

void ZipWriter::Add(std::string_view name, std::span<const std::byte> content) {
    const std::uint32_t header = ZipNumber(position_);
    static_cast<void>(ZipNumber(position_ + kLocalBytes + name.size() + content.size()));
    const auto size = static_cast<std::uint32_t>(content.size());
    const std::uint32_t crc = Crc32(content);

    std::string local;
    PutZip32(local, kLocalMark);
    PutZipFacts(local, name, crc, size);
    local += name;
    Write(local);
    sink_.Append(content);
    position_ += content.size();

    PutZip32(directory_, kDirectoryMark);
    PutZip16(directory_, kVersion);  // of what made it
    PutZipFacts(directory_, name, crc, size);
    PutZip16(directory_, 0);  // no comment
    PutZip16(directory_, 0);  // the first disk
    PutZip16(directory_, 0);  // nothing is known of what is inside
    PutZip32(directory_, 0);  // a usual file
    PutZip32(directory_, header);
    directory_ += name;
    ++count_;
}

void ZipWriter::Finish() {
    const std::uint32_t start = ZipNumber(position_);
    const std::uint32_t bytes = ZipNumber(directory_.size());
    std::string end;
    PutZip32(end, kEndMark);
    PutZip32(end, 0);  // one disk
    PutZip16(end, count_);
    PutZip16(end, count_);
    PutZip32(end, bytes);
    PutZip32(end, start);
    PutZip16(end, 0);  // no comment
    static_cast<void>(ZipNumber(position_ + bytes + end.size()));
    Write(directory_);
    Write(end);
}

}  // namespace vistrel
