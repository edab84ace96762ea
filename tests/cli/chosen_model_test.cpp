// SPDX-License-Identifier: GPL-3.0-or-later
// The commands and the window read one file with two libraries, and find the same network in it.
#include "cli/chosen_model.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "base/text_encoding.h"
#include "tests/support/own_home.h"
#include "ui/settings.h"

namespace vistrel {
namespace {

class ChosenModelTest : public ::testing::Test {
  protected:
    void Write(const std::string& text) const {
        std::filesystem::create_directories(File().parent_path());
        std::ofstream(File(), std::ios::binary) << text;
    }
    [[nodiscard]] std::filesystem::path File() const {
        return home.Home() / ".config/Vistrel/settings.json";
    }

    test::OwnHome home;
};

std::filesystem::path OfTheWindow() {
    AppSettings settings;
    settings.Load();
    return ToPath(settings.modelPath);
}

TEST_F(ChosenModelTest, IsWhatTheWindowHasSaved) {
    for (const std::string name :
         {"/m/net.onnx", "/m/モデル 😀.onnx", R"(/m/"q"\b\\u0041.onnx)", "/m/caf\xE9\xFF.onnx",
          "/m/a\nb\tc\x01.onnx", "/m/\xEF\xBB\xBFmark.onnx", "/m/\xED\xA0\xBD\xED\xB2\x80.onnx"}) {
        AppSettings settings;
        settings.modelPath = FromPath(name);
        settings.Save();
        EXPECT_EQ(ChosenModel(), OfTheWindow());
        EXPECT_EQ(ChosenModel().native(), name);
    }
}

TEST_F(ChosenModelTest, IsWhatTheWindowFindsInFilesOfOthers) {
    for (const std::string& text : {
             std::string(R"({"modelPath":"/x","modelPath":"/y"})"),
             std::string("\xEF\xBB\xBF{\"modelPath\":\"/x\"}"),
             std::string(R"({"modelPath":"/a\u0000b"})"),
             std::string(R"({"modelPath":"\u0000"})"),
             std::string(R"({"modelPath":"/\ud83d\ude00\uDCE9\udc80\u00e9\\udce9.onnx"})"),
             std::string(R"({"modelPath":"/\ud83dx\udc00"})"),
             std::string(R"({"modelPath":"","theirs":{"a":[1,2.5,"x",null,true]}})"),
             std::string(R"({"modelPath":7})"),
             std::string(R"({"modelPath":["/x"]})"),
             std::string("{}"),
         }) {
        Write(text);
        EXPECT_EQ(ChosenModel(), OfTheWindow()) << text;
    }
}

TEST_F(ChosenModelTest, IsNoneInABrokenFile) {
    const std::string whole = R"({"modelPath":"/x")";
    for (const std::string& text :
         {std::string(), whole, whole + "}}", "[" + whole + "}]", std::string("7"),
          std::string("\"/x\""), whole + ",\"a\":\"\xFF\"}", whole + R"(,"a":"\u12"})",
          std::string(5000, '['), std::string(64, '\0')}) {
        Write(text);
        EXPECT_EQ(ChosenModel(), "") << text;
        EXPECT_EQ(OfTheWindow(), "") << text;
    }
}

TEST_F(ChosenModelTest, IsNoneWithoutAFile) {
    EXPECT_EQ(ChosenModel(), "");
    std::filesystem::create_directories(File());
    EXPECT_EQ(ChosenModel(), "");
}

TEST_F(ChosenModelTest, IsReadWhereTheConfigurationIs) {
    home.variables.Set("XDG_CONFIG_HOME", (home.Home() / "moved").string());
    std::filesystem::create_directories(home.Home() / "moved/Vistrel");
    std::ofstream(home.Home() / "moved/Vistrel/settings.json") << R"({"modelPath":"/moved"})";
    EXPECT_EQ(ChosenModel(), "/moved");
}

}  // namespace
}  // namespace vistrel
