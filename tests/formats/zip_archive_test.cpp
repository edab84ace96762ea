// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/zip_archive.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vistrel {
namespace {

std::span<const std::byte> ZipBytesOf(std::string_view text) {
    return std::as_bytes(std::span(text));
}

std::string ZipTextOf(const std::vector<std::byte>& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// "a" with "hello" in it: the entry from 0, the directory from 36, its end from 83.
std::string OneEntry() {
    MemorySink sink;
    ZipWriter writer(sink);
    writer.Add("a", ZipBytesOf("hello"));
    writer.Finish();
    return sink.content;
}

// The same, with "hello" as a block of deflate.
std::string OneDeflatedEntry() {
    const std::string_view block("\x01\x05\x00\xfa\xffhello", 10);
    std::string archive = OneEntry();
    archive[8] = archive[46] = 8;
    archive[56] = 10;
    archive[83 + 16] = 41;
    return archive.replace(31, 5, block);
}

std::string Content(const std::string& archive, std::string_view name, std::size_t most = 100) {
    const InputFile file(ZipBytesOf(archive));
    const ZipArchive zip(file);
    const ZipEntry* const entry = zip.Find(name);
    return entry == nullptr ? "no such entry" : ZipTextOf(zip.Content(*entry, most));
}

TEST(ZipArchive, WrittenArchivesHaveTheirLayout) {
    constexpr std::string_view kFacts(
        "\x14\0\0\x08\0\0\0\0\x21\0\x86\xa6\x10\x36\x05\0\0\0\x05\0\0\0\x01\0\0\0", 26);
    std::string expected("PK\x03\x04");
    expected += kFacts;
    expected += "ahelloPK\x01\x02";
    expected += std::string_view("\x14\0", 2);
    expected += kFacts;
    expected += std::string(14, '\0') + "aPK\x05\x06";
    expected += std::string_view("\0\0\0\0\x01\0\x01\0\x2f\0\0\0\x24\0\0\0\0\0", 18);
    EXPECT_EQ(OneEntry(), expected);
}

TEST(ZipArchive, WrittenEntriesAreRead) {
    MemorySink sink;
    ZipWriter writer(sink);
    writer.Add("first", ZipBytesOf("1"));
    writer.Add("empty", {});
    writer.Add("folder/last", ZipBytesOf("the last one"));
    writer.Finish();
    EXPECT_EQ(Content(sink.content, "first"), "1");
    EXPECT_EQ(Content(sink.content, "empty"), "");
    EXPECT_EQ(Content(sink.content, "folder/last"), "the last one");
    EXPECT_EQ(Content(sink.content, "last"), "no such entry");
}

TEST(ZipArchive, DeflatedEntriesAreUnpacked) {
    EXPECT_EQ(Content(OneDeflatedEntry(), "a"), "hello");
}

TEST(ZipArchive, ACommentMayFollow) {
    std::string archive = OneEntry();
    archive[archive.size() - 2] = 3;
    EXPECT_EQ(Content(archive + "PK\x05", "a"), "hello");
}

TEST(ZipArchive, EntriesAreNoLargerThanTheCallerExpects) {
    EXPECT_THROW(static_cast<void>(Content(OneEntry(), "a", 4)), std::runtime_error);
}

TEST(ZipArchive, OtherFilesAreNone) {
    const std::string other = "PK\x05\x06" + std::string(100, 'x');
    EXPECT_FALSE(ZipArchive::IsOne(InputFile(ZipBytesOf(other))));
    EXPECT_FALSE(ZipArchive::IsOne(InputFile(ZipBytesOf("PK\x03\x04"))));
    EXPECT_TRUE(ZipArchive::IsOne(InputFile(ZipBytesOf(OneEntry()))));
}

struct ArchiveDamage {
    std::size_t place;
    std::string_view bytes;
};

std::string Damaged(std::string archive, const ArchiveDamage& damage) {
    return archive.replace(damage.place, damage.bytes.size(), damage.bytes);
}

class DamagedZip : public testing::TestWithParam<ArchiveDamage> {};

TEST_P(DamagedZip, IsRefused) {
    EXPECT_THROW(static_cast<void>(Content(Damaged(OneEntry(), GetParam()), "a")),
                 std::runtime_error);
}

INSTANTIATE_TEST_SUITE_P(
    Places, DamagedZip,
    testing::Values(ArchiveDamage{0, "x"},                  // no local header
                    ArchiveDamage{8, "\x08"},               // another method there
                    ArchiveDamage{26, "\x02"},              // another length of the name there
                    ArchiveDamage{28, "\x01"},              // content past the directory
                    ArchiveDamage{30, "b"},                 // another name there
                    ArchiveDamage{31, "j"},                 // another CRC
                    ArchiveDamage{36, "x"},                 // no entry in the directory
                    ArchiveDamage{44, "\x01"},              // encrypted
                    ArchiveDamage{46, "\x0c"},              // bzip2
                    ArchiveDamage{56, "\x06"},              // more bytes than there are
                    ArchiveDamage{60, "\x06"},              // another size unpacked
                    ArchiveDamage{56, "\xff\xff\xff\xff"},  // 64 bits
                    ArchiveDamage{64, "\x02"},              // a name past the directory
                    ArchiveDamage{78, "\x24"},              // a local header in the directory
                    ArchiveDamage{83, "x"},                 // no end
                    ArchiveDamage{91, "\x02"},              // entries on another disk
                    ArchiveDamage{91, "\x02\x00\x02"},      // too many entries
                    ArchiveDamage{91, "\xff\xff\xff\xff"},  // 64 bits
                    ArchiveDamage{95, "\x30"},              // a directory past its end
                    ArchiveDamage{103, "\x01"}));           // a comment that is not there

class DamagedDeflate : public testing::TestWithParam<ArchiveDamage> {};

TEST_P(DamagedDeflate, IsRefused) {
    EXPECT_THROW(static_cast<void>(Content(Damaged(OneDeflatedEntry(), GetParam()), "a", 1 << 20)),
                 std::runtime_error);
}

INSTANTIATE_TEST_SUITE_P(Places, DamagedDeflate,
                         testing::Values(ArchiveDamage{31, "\x07"},  // a block of no kind
                                         ArchiveDamage{31, std::string_view("\0", 1)},  // no end
                                         ArchiveDamage{65, "\x04"},  // more than it claims
                                         ArchiveDamage{65, "\x06"},  // less than it claims
                                         ArchiveDamage{67, "\x01"},  // far too much
                                         ArchiveDamage{56 + 5, "\x09"}));

TEST(ZipArchive, EntriesThatShareBytesAreRefused) {
    MemorySink sink;
    ZipWriter writer(sink);
    writer.Add("a", ZipBytesOf("hello"));
    writer.Add("a", ZipBytesOf("hello"));
    writer.Finish();
    // The second entry of the directory, from 72 + 47 on, names the first one's place.
    EXPECT_THROW(
        static_cast<void>(Content(Damaged(sink.content, {161, std::string_view("\0", 1)}), "a")),
        std::runtime_error);
}

TEST(ZipArchive, CutArchivesAreRefused) {
    const std::string archive = OneEntry();
    for (std::size_t size = 30; size < archive.size(); ++size) {
        EXPECT_THROW(static_cast<void>(Content(archive.substr(0, size), "a")), std::runtime_error)
            << size;
    }
}

}  // namespace
}  // namespace vistrel
