// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/settings.h"

#include <QJsonObject>
#include <clocale>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "base/text_encoding.h"
#include "tests/ui/settings_fixture.h"

namespace vistrel {
namespace {

using test::ExpectSame;
using Settings = test::SettingsTest;

TEST_F(Settings, FirstStartHasTheDefaults) {
    std::filesystem::create_directories(home.Home() / "Documents");
    AppSettings settings;
    settings.Load();
    EXPECT_EQ(settings.modelPath, L"");
    EXPECT_EQ(settings.outputDir, FromPath(home.Home() / "Documents/Vistrel"));
    EXPECT_EQ(settings.outputFilename, L"output.ply");
    EXPECT_EQ(settings.stereoMode, 0);
    EXPECT_FALSE(settings.isSwapped);
    EXPECT_EQ(settings.focus, 0.0);
    EXPECT_EQ(settings.depth, 30.0);
    EXPECT_TRUE(settings.isSharpMode);
    EXPECT_EQ(settings.executionProvider, 0);
    EXPECT_FALSE(std::filesystem::exists(File()));
}

TEST_F(Settings, HomeHoldsTheResultsWhereThereAreNoDocuments) {
    EXPECT_EQ(AppSettings().outputDir, FromPath(home.Home() / "Vistrel"));
}

TEST_F(Settings, AllValuesComeBack) {
    test::UnusualSettings().Save();
    AppSettings settings;
    settings.Load();
    ExpectSame(settings, test::UnusualSettings());
}

TEST_F(Settings, ValuesHaveTheirNamesAndTypes) {
    test::UnusualSettings().Save();
    const QJsonObject expected{{"modelPath", "/m/モデル.onnx"},
                               {"outputDir", "/o"},
                               {"outputFilename", "o.ply"},
                               {"stereoMode", 3},
                               {"isSwapped", 1},
                               {"focus", "-12.5"},
                               {"depth", "77.25"},
                               {"isSharpMode", 0},
                               {"executionProvider", 1}};
    EXPECT_EQ(Written(), expected);
}

TEST_F(Settings, ConfigurationFolderMayBeMoved) {
    home.variables.Set("XDG_CONFIG_HOME", (home.Home() / "moved").string());
    test::UnusualSettings().Save();
    EXPECT_FALSE(std::filesystem::exists(File()));
    AppSettings settings;
    settings.Load();
    ExpectSame(settings, test::UnusualSettings());
    EXPECT_TRUE(std::filesystem::exists(home.Home() / "moved/Vistrel/settings.json"));
}

TEST_F(Settings, SliderValuesAreKeptWithSixDigits) {
    const std::vector<std::pair<double, const char*>> cases = {{30.0, "30"},
                                                               {-12.0, "-12"},
                                                               {0.5, "0.5"},
                                                               {-0.0, "-0"},
                                                               {12.7, "12.7"},
                                                               {123.456789, "123.457"},
                                                               {1234567.0, "1.23457e+06"},
                                                               {0.00001, "1e-05"}};
    for (const auto& [value, text] : cases) {
        AppSettings settings;
        settings.focus = value;
        settings.depth = value;
        settings.Save();
        EXPECT_EQ(Written()["focus"].toString().toStdString(), text);
        EXPECT_EQ(Written()["depth"].toString().toStdString(), text);
    }
}

TEST_F(Settings, DecimalCommaOfTheUserPlaysNoRole) {
    const std::string old = setlocale(LC_ALL, nullptr);
    for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8"}) setlocale(LC_ALL, name);
    AppSettings settings;
    settings.focus = 0.5;
    settings.Save();
    settings.Load();
    setlocale(LC_ALL, old.c_str());
    EXPECT_EQ(settings.focus, 0.5);
    EXPECT_EQ(Written()["focus"].toString(), "0.5");
}

TEST_F(Settings, ValuesWrittenByHandAreTaken) {
    const AppSettings settings = Loaded(R"(
        { "modelPath" : "\u00e9\ud83d\ude00", "outputDir":"/d", "outputFilename":"f",
          "stereoMode": 2.0, "isSwapped": 7, "focus": " +12.7 mm", "depth": "0x10",
          "isSharpMode": 1, "executionProvider": 1e0 })");
    EXPECT_EQ(settings.modelPath, L"é😀");
    EXPECT_EQ(settings.outputDir, L"/d");
    EXPECT_EQ(settings.outputFilename, L"f");
    EXPECT_EQ(settings.stereoMode, 2);
    EXPECT_TRUE(settings.isSwapped);
    EXPECT_EQ(settings.focus, 12.7);
    EXPECT_EQ(settings.depth, 16.0);
    EXPECT_TRUE(settings.isSharpMode);
    EXPECT_EQ(settings.executionProvider, 1);
}

// What each value becomes when it is not there, or not of its type.
void ExpectFallbacks(const AppSettings& settings) {
    EXPECT_EQ(settings.modelPath, L"");
    EXPECT_EQ(settings.outputDir, L"/o");
    EXPECT_EQ(settings.outputFilename, L"o.ply");
    EXPECT_EQ(settings.stereoMode, 0);
    EXPECT_FALSE(settings.isSwapped);
    EXPECT_EQ(settings.focus, 0.0);
    EXPECT_EQ(settings.depth, 30.0);
    EXPECT_TRUE(settings.isSharpMode);
    EXPECT_EQ(settings.executionProvider, 0);
}

TEST_F(Settings, MissingValuesFallBack) {
    ExpectFallbacks(Loaded("{}"));
}

class WrongTypes : public Settings, public testing::WithParamInterface<const char*> {};

TEST_P(WrongTypes, FallBack) {
    std::string text = "{";
    for (const char* name : {"modelPath", "outputDir", "outputFilename", "focus", "depth"})
        text += '"' + std::string(name) + "\":" + GetParam() + ',';
    ExpectFallbacks(Loaded(text + "\"x\":0}"));
}

INSTANTIATE_TEST_SUITE_P(OfTexts, WrongTypes,
                         testing::Values("5", "5.5", "true", "null", "[\"5\"]", "{\"a\":\"5\"}"));

class WrongNumbers : public Settings, public testing::WithParamInterface<const char*> {};

TEST_P(WrongNumbers, FallBack) {
    std::string text = "{";
    for (const char* name : {"stereoMode", "isSwapped", "isSharpMode", "executionProvider"})
        text += '"' + std::string(name) + "\":" + GetParam() + ',';
    const AppSettings settings = Loaded(text + "\"x\":0}");
    EXPECT_EQ(settings.stereoMode, 0);
    EXPECT_FALSE(settings.isSwapped);
    EXPECT_TRUE(settings.isSharpMode);
    EXPECT_EQ(settings.executionProvider, 0);
}

INSTANTIATE_TEST_SUITE_P(OfNumbers, WrongNumbers,
                         testing::Values("\"1\"", "true", "null", "[1]", "{}", "-1", "1.5",
                                         "4294967296", "1e300", "-0.5"));

TEST_F(Settings, StoredZeroOfTheViewModeIsGeneral) {
    EXPECT_FALSE(Loaded(R"({"isSharpMode":0})").isSharpMode);
}

TEST_F(Settings, NumbersAreNotCheckedAgainstTheirRange) {
    const AppSettings settings =
        Loaded(R"({"stereoMode":2147483647,"executionProvider":99,"focus":"-1e6","depth":"1e6"})");
    EXPECT_EQ(settings.stereoMode, 2147483647);
    EXPECT_EQ(settings.executionProvider, 99);
    EXPECT_EQ(settings.focus, -1e6);
    EXPECT_EQ(settings.depth, 1e6);
}

TEST_F(Settings, UpperHalfOfTheNumbersIsNegative) {
    const AppSettings settings =
        Loaded(R"({"stereoMode":2147483648,"executionProvider":4294967295})");
    EXPECT_EQ(settings.stereoMode, -2147483647 - 1);
    EXPECT_EQ(settings.executionProvider, -1);
    settings.Save();
    EXPECT_EQ(Written()["stereoMode"].toInteger(), 2147483648);
    EXPECT_EQ(Written()["executionProvider"].toInteger(), 4294967295);
}

class NoNumber : public Settings, public testing::WithParamInterface<const char*> {};

TEST_P(NoNumber, FallsBack) {
    const std::string text = GetParam();
    const AppSettings settings = Loaded(R"({"focus":")" + text + R"(","depth":")" + text + "\"}");
    EXPECT_EQ(settings.focus, 0.0);
    EXPECT_EQ(settings.depth, 30.0);
}

INSTANTIATE_TEST_SUITE_P(Texts, NoNumber,
                         testing::Values("", " ", "abc", "x12", ",5", "-", "+-1", ".", "e5",
                                         "1e400", "-1e400", "1e-400", "1e-310", "inf", "-Infinity",
                                         "nan", "１２", "\\u00001"));

TEST_F(Settings, TextsEndAtTheFirstZeroCharacter) {
    const AppSettings settings =
        Loaded(R"({"modelPath":"a\u0000b","outputDir":"\u0000b","focus":"1\u00002"})");
    EXPECT_EQ(settings.modelPath, L"a");
    EXPECT_EQ(settings.outputDir, L"");
    EXPECT_EQ(settings.focus, 1.0);
}

TEST_F(Settings, FileNamesThatAreNoTextComeBackWithEveryByte) {
    AppSettings settings;
    settings.modelPath = FromUtf8("/\xFF\xF0\x9F\x98/\xED\xA0\x80/\xF0\x9F\x98\x80\x80.onnx");
    settings.outputDir = L"/\xDC80";
    settings.Save();
    AppSettings again;
    again.Load();
    EXPECT_EQ(again.modelPath, settings.modelPath);
    EXPECT_EQ(again.outputDir, settings.outputDir);
}

TEST_F(Settings, TextsMayBeginWithAByteOrderMark) {
    AppSettings settings;
    settings.outputFilename = L"\xFEFFo.ply";
    settings.Save();
    AppSettings again;
    again.Load();
    EXPECT_EQ(again.outputFilename, L"\xFEFFo.ply");
}

TEST_F(Settings, FileMayBeginWithAByteOrderMark) {
    EXPECT_EQ(Loaded("\xEF\xBB\xBF{\"outputFilename\":\"f\"}").outputFilename, L"f");
}

}  // namespace
}  // namespace vistrel
