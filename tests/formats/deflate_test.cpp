// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/deflate.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <random>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vistrel {
namespace {

std::string GzipOf(std::string_view content, int threads = 2) {
    MemorySink sink;
    PackGzip(std::as_bytes(std::span(content)), threads, sink);
    return std::move(sink.content);
}

std::string Unpacked(std::string_view gzip, std::size_t least, std::size_t most) {
    const std::vector<std::byte> bytes = UnpackGzip(std::as_bytes(std::span(gzip)), least, most);
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::string GzipRefusal(std::string_view gzip, std::size_t least, std::size_t most) {
    try {
        static_cast<void>(Unpacked(gzip, least, most));
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "";
}

// Text that packs well, also by what lies in the block before.
std::string Words(std::size_t size) {
    std::mt19937 random(1);
    std::string text;
    while (text.size() < size) text += std::to_string(random() % 5000) + " ";
    text.resize(size);
    return text;
}

// Many blocks, the last one of a single byte.
const std::string kLong = Words(3 * (std::size_t{1} << 19) + 1);

TEST(Deflate, ManyBlocksAreOneGzipFile) {
    EXPECT_EQ(Unpacked(GzipOf(kLong), kLong.size(), kLong.size()), kLong);
}

TEST(Deflate, NothingIsAGzipFileToo) {
    EXPECT_EQ(Unpacked(GzipOf(""), 0, 0), "");
}

TEST(Deflate, GzipFileIsTheSameForAnyNumberOfThreads) {
    EXPECT_EQ(GzipOf(kLong, 1), GzipOf(kLong, 3));
}

TEST(Deflate, SizesBetweenTheLimitsAreTaken) {
    EXPECT_EQ(Unpacked(GzipOf("content"), 3, 9), "content");
}

TEST(Deflate, OneByteTooMany) {
    EXPECT_EQ(GzipRefusal(GzipOf("content"), 0, 6), "it unpacks to more than it claims");
}

TEST(Deflate, OneByteTooFew) {
    EXPECT_EQ(GzipRefusal(GzipOf("content"), 8, 9), "it unpacks to less than it claims");
}

TEST(Deflate, CutAtAnyPlace) {
    const std::string whole = GzipOf(Words(200));
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_EQ(GzipRefusal(whole.substr(0, size), 200, 200), "it is cut short") << size;
    }
}

TEST(Deflate, WrongChecksum) {
    std::string gzip = GzipOf("content");
    gzip[gzip.size() - 5] ^= 1;
    EXPECT_EQ(GzipRefusal(gzip, 7, 7), "its compressed data are damaged");
}

TEST(Deflate, BytesBehindTheEnd) {
    EXPECT_EQ(GzipRefusal(GzipOf("content") + "x", 7, 7), "it goes on behind its end");
}

TEST(Deflate, StartIsUnpackedAlone) {
    const std::string gzip = GzipOf(kLong);
    const auto start = UnpackGzipStart(std::as_bytes(std::span(gzip)).first(1000), 5);
    ASSERT_EQ(start.size(), 5U);
    EXPECT_EQ(std::to_integer<char>(start[4]), kLong[4]);
}

TEST(Deflate, StartOfLessIsAllOfIt) {
    const std::string gzip = GzipOf("abc");
    EXPECT_EQ(UnpackGzipStart(std::as_bytes(std::span(gzip)), 5).size(), 3U);
}

TEST(Deflate, BareStream) {
    // A stored block: last, 1 byte, its complement, the byte.
    constexpr std::array<unsigned char, 6> kStored = {1, 1, 0, 0xFE, 0xFF, 'x'};
    const auto bytes = UnpackDeflate(std::as_bytes(std::span(kStored)), 1);
    EXPECT_EQ(bytes, std::vector{std::byte{'x'}});
}

TEST(Deflate, ChecksumOfTheUsualExample) {
    constexpr std::string_view kDigits = "123456789";
    EXPECT_EQ(Crc32(std::as_bytes(std::span(kDigits))), 0xCBF43926U);
}

}  // namespace
}  // namespace vistrel
