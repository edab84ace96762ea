// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/text_encoding.h"

#include <gtest/gtest.h>

#include <string>

namespace vistrel {
namespace {

TEST(Wide, AsciiJapaneseAndEmojiBecomeOneCharacterEach) {
    EXPECT_EQ(FromUtf8("a\xE5\x86\x99\xF0\x9F\x93\xB7"), L"a\u5199\U0001F4F7");
    EXPECT_EQ(ToUtf8(L"a\u5199\U0001F4F7"), "a\xE5\x86\x99\xF0\x9F\x93\xB7");
}

TEST(Wide, BoundariesOfEachLengthRoundTrip) {
    const std::wstring text = L"\x7F\x80\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF";
    EXPECT_EQ(FromUtf8(ToUtf8(text)), text);
}

TEST(Wide, EverySingleByteRoundTrips) {
    for (int value = 0; value < 256; ++value) {
        const std::string byte(1, static_cast<char>(value));
        EXPECT_EQ(FromUtf8(byte).size(), 1U) << value;
        EXPECT_EQ(ToUtf8(FromUtf8(byte)), byte) << value;
    }
}

TEST(Wide, EveryPairAndTripleAroundTheLeadBytesRoundTrips) {
    const std::string interesting =
        "\x41\x7F\x80\x9F\xA0\xBF\xC0\xC1\xC2\xE0\xED\xEF\xF0\xF4\xF5\xFF";
    for (const char a : interesting) {
        for (const char b : interesting) {
            for (const char c : interesting) {
                for (const char d : interesting) {
                    const std::string bytes = {a, b, c, d};
                    ASSERT_EQ(ToUtf8(FromUtf8(bytes)), bytes);
                }
            }
        }
    }
}

TEST(Wide, InvalidByteBecomesItsEscape) {
    EXPECT_EQ(FromUtf8("x\xFFy"), std::wstring({L'x', static_cast<wchar_t>(0xDCFF), L'y'}));
}

TEST(Wide, OverlongFormIsNotAccepted) {
    EXPECT_EQ(FromUtf8("\xC0\xAF"),
              std::wstring({static_cast<wchar_t>(0xDCC0), static_cast<wchar_t>(0xDCAF)}));
}

TEST(Wide, EncodedSurrogateIsNotAccepted) {
    EXPECT_EQ(FromUtf8("\xED\xA0\x80").size(), 3U);
}

TEST(Wide, CutSequenceAtTheEndKeepsItsBytes) {
    EXPECT_EQ(FromUtf8("\xE5\x86").size(), 2U);
    EXPECT_EQ(ToUtf8(FromUtf8("\xE5\x86")), "\xE5\x86");
}

TEST(Wide, ValueThatIsNoTextBecomesTheReplacement) {
    EXPECT_EQ(ToUtf8(std::wstring({static_cast<wchar_t>(0xD800)})), "\xEF\xBF\xBD");
    EXPECT_EQ(ToUtf8(std::wstring({static_cast<wchar_t>(0x110000)})), "\xEF\xBF\xBD");
}

TEST(Wide, NulInsideATextStays) {
    EXPECT_EQ(FromUtf8(std::string("a\0b", 3)), std::wstring(L"a\0b", 3));
}

TEST(Wide, PathKeepsEveryByte) {
    const std::filesystem::path path = "/a b/#\xE5\x86\x99/\xFF.jpg";
    EXPECT_EQ(ToPath(FromPath(path)).native(), path.native());
}

}  // namespace
}  // namespace vistrel
