// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/ui_text.h"

#include <gtest/gtest.h>

#include <QString>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "base/text_encoding.h"

namespace vistrel {
namespace {

struct Row {
    std::size_t slot = 0;
    std::string english;
    std::string japanese;
};

// "\n" and "\t" of two characters each become one.
std::string Unescape(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            result += text[i];
            continue;
        }
        ++i;
        result += text.at(i) == 'n' ? '\n' : '\t';
    }
    return result;
}

std::vector<Row> ExpectedTexts() {
    std::ifstream file(VISTREL_UI_TEXTS);
    std::vector<Row> rows;
    for (std::string line; std::getline(file, line);) {
        std::istringstream cells(line);
        std::string slot;
        std::string english;
        std::string japanese;
        std::getline(cells, slot, '\t');
        std::getline(cells, english, '\t');
        std::getline(cells, japanese, '\t');
        rows.push_back({std::stoul(slot), Unescape(english), Unescape(japanese)});
    }
    return rows;
}

TEST(UiText, EveryTextIsTheListedOne) {
    const auto rows = ExpectedTexts();
    ASSERT_EQ(rows.size(), kUiTextCount);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        ASSERT_EQ(rows[i].slot, i);
        EXPECT_EQ(ToUtf8(kEnglishText.at(i)), rows[i].english) << "slot " << i;
        EXPECT_EQ(ToUtf8(kJapaneseText.at(i)), rows[i].japanese) << "slot " << i;
    }
}

TEST(UiText, EnglishIsShownBeforeALanguageIsChosen) {
    ASSERT_EQ(gUiText, nullptr);
    EXPECT_EQ(Text(TextId::BatchCaption), std::wstring(L"Batch Conversion"));
}

TEST(UiText, TextsComeFromTheChosenTable) {
    gUiText = &kJapaneseText;
    EXPECT_EQ(Text(TextId::BatchCaption), std::wstring(L"一括変換"));
    gUiText = nullptr;
}

TEST(UiText, EnglishTextStaysEnglish) {
    gUiText = &kJapaneseText;
    EXPECT_EQ(EnglishText(TextId::FocusValue), std::wstring(L"Focus: %d"));
    gUiText = nullptr;
}

TEST(UiText, ValuesTakeTheirPlacesInOrder) {
    EXPECT_EQ(Filled(L"%d / %d: %s", {L"1", L"20", L"a.jpg"}), L"1 / 20: a.jpg");
    EXPECT_EQ(Filled(L" (%d sec)", {L"7"}), L" (7 sec)");
    EXPECT_EQ(Filled(L"%s%s", {L"", L"b"}), L"b");
}

TEST(UiText, ValueMayLookLikeAPlace) {
    EXPECT_EQ(Filled(L"%s, %s.", {L"%s%d", L"b"}), L"%s%d, b.");
}

TEST(UiText, TextsWithoutAPlaceForAValueStayAsTheyAre) {
    EXPECT_EQ(Filled(L"100 %", {L"1"}), L"100 %");
    EXPECT_EQ(Filled(L"%d and %d", {L"1"}), L"1 and %d");
}

TEST(UiText, FilledTextEndsAfter256Characters) {
    EXPECT_EQ(Filled(L"%d: %s!", {L"1", std::wstring(253, L'a')}),
              L"1: " + std::wstring(253, L'a'));
}

// Columns of a font whose wide characters take two.
std::size_t ColumnOf(const std::wstring& line, wchar_t wanted) {
    std::size_t column = 0;
    for (const wchar_t character : line) {
        if (character == wanted) return column;
        column += character >= 0x2E80 ? 2 : 1;
    }
    return std::wstring::npos;
}

TEST(UiText, MakersOfTheComponentsLineUp) {
    for (const UiText* table : {&kEnglishText, &kJapaneseText}) {
        std::wistringstream lines(table->at(static_cast<std::size_t>(TextId::About)));
        std::vector<std::size_t> columns;
        for (std::wstring line; std::getline(lines, line);)
            if (line.starts_with(L"  ")) columns.push_back(ColumnOf(line, L'('));
        EXPECT_EQ(columns, std::vector<std::size_t>(5, 16));
    }
}

TEST(SpokenText, SymbolsAndDashesAroundTheWordsAreLeftOut) {
    EXPECT_EQ(SpokenText(QString::fromUtf8("— ONNX Model —")), "ONNX Model");
    EXPECT_EQ(SpokenText(QString::fromUtf8("▶  Generate 3DGS")), "Generate 3DGS");
    EXPECT_EQ(SpokenText(QString::fromUtf8("⇆ Swap L/R")), "Swap L/R");
}

TEST(SpokenText, MnemonicsAreLeftOut) {
    EXPECT_EQ(SpokenText("Save &Image"), "Save Image");
    EXPECT_EQ(SpokenText(QString::fromUtf8("ヘルプ(&H)")), QString::fromUtf8("ヘルプ"));
}

TEST(SpokenText, WhatStandsAmongTheWordsStays) {
    EXPECT_EQ(SpokenText("Side-by-Side (SBS)"), "Side-by-Side (SBS)");
    EXPECT_EQ(SpokenText(QString::fromUtf8("Select File…")), QString::fromUtf8("Select File…"));
}

}  // namespace
}  // namespace vistrel
