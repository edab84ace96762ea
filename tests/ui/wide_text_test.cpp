// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/wide_text.h"

#include <gtest/gtest.h>

#include <string>

namespace vistrel {
namespace {

TEST(WideText, CharactersBeyondTheFirstPlaneAreKept) {
    const std::wstring text = L"a\u00e9\u753b\U0001F5BC z";
    EXPECT_EQ(FromWide(text), QString::fromUtf8("aé画🖼 z"));
    EXPECT_EQ(ToWide(FromWide(text)), text);
}

TEST(WideText, BytesOfFileNamesAreKept) {
    const std::wstring text = {L'x', wchar_t{0xDCFF}, L'y', wchar_t{0xDC80}};
    EXPECT_EQ(ToWide(FromWide(text)), text);
}

TEST(WideText, ByteOrderMarkAtTheStartIsKept) {
    const std::wstring text = L"\xFEFF\xFEFFx";
    EXPECT_EQ(FromWide(text).size(), 3);
    EXPECT_EQ(ToWide(FromWide(text)), text);
}

TEST(WideText, WhatIsNoCharacterIsReplaced) {
    const std::wstring text = {wchar_t{0x110000}, wchar_t{0x10FFFF}, wchar_t{-1}};
    EXPECT_EQ(ToWide(FromWide(text)), L"\xFFFD\x10FFFF\xFFFD");
}

TEST(WideText, LoneHighSurrogateAtTheEndIsKept) {
    EXPECT_EQ(ToWide(QString(QChar(0xD83D))), std::wstring(1, wchar_t{0xD83D}));
}

}  // namespace
}  // namespace vistrel
