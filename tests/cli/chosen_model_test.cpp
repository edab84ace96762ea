// SPDX-License-Identifier: GPL-3.0-or-later
// The commands and the window read one file with two libraries, and find the same network in it.
#include "cli/chosen_model.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "base/text_encoding.h"
#include "tests/support/own_home.h"
#include "tests/support/temporary_folder.h"
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

class ChoosingAModelTest : public ChosenModelTest {
  protected:
    // What the file holds after the choice of /new.
    std::string Changed(const std::string& text) {
        Write(text);
        ChooseModel("/new");
        EXPECT_EQ(ChosenModel(), "/new") << text;
        EXPECT_EQ(OfTheWindow(), "/new") << text;
        return test::ReadFile(File());
    }
};

TEST_F(ChoosingAModelTest, IsFoundByWindowAndCommands) {
    for (const std::string name :
         {"/m/net.onnx", "/m/モデル 😀.onnx", R"(/m/"q"\b\\u0041.onnx)", "/m/caf\xE9\xFF.onnx",
          "/m/a\nb\tc\x01.onnx", "/m/\xEF\xBB\xBFmark.onnx", "/m/\xED\xA0\xBD\xED\xB2\x80.onnx"}) {
        ChooseModel(name);
        EXPECT_EQ(ChosenModel().native(), name);
        EXPECT_EQ(OfTheWindow().native(), name);
    }
}

TEST_F(ChoosingAModelTest, LeavesAFileThatTheWindowWouldWrite) {
    AppSettings settings;
    settings.modelPath = L"/new";
    settings.Save();
    const std::string ofTheWindow = test::ReadFile(File());
    settings.modelPath = L"/a \"longer\" name";
    settings.Save();
    ChooseModel("/new");
    EXPECT_EQ(test::ReadFile(File()), ofTheWindow);
}

TEST_F(ChoosingAModelTest, LeavesEverythingElseAsItIs) {
    EXPECT_EQ(
        Changed(R"({"a": [1, {"modelPath": "/x"}, "]}\""], "modelPath" : "/old\"", "b":1e99})"),
        R"({"a": [1, {"modelPath": "/x"}, "]}\""], "modelPath" : "/new", "b":1e99})");
    EXPECT_EQ(Changed(R"({"modelPath":null})"), R"({"modelPath":"/new"})");
    EXPECT_EQ(Changed(R"({"modelPath":[{"a":"}"}],"t":"\udc80"})"),
              R"({"modelPath":"/new","t":"\udc80"})");
    EXPECT_EQ(Changed("{\"modelPath\":-1.5e3 }"), "{\"modelPath\":\"/new\" }");
    EXPECT_EQ(Changed("\xEF\xBB\xBF{\"modelPath\":\"\"}"), "\xEF\xBB\xBF{\"modelPath\":\"/new\"}");
}

TEST_F(ChoosingAModelTest, CountsWhicheverNameOfSeveralCounts) {
    EXPECT_EQ(Changed(R"({"modelPath":"/x","modelPath":"/y","model\u0050ath":"/z"})"),
              R"({"modelPath":"/new","modelPath":"/new","model\u0050ath":"/new"})");
}

TEST_F(ChoosingAModelTest, IsAddedWhereThereIsNone) {
    EXPECT_EQ(Changed("{}"), "{\n    \"modelPath\": \"/new\"\n}");
    EXPECT_EQ(Changed(" { \n} "), " {\n    \"modelPath\": \"/new\"\n} ");
    EXPECT_EQ(Changed("{\n    \"depth\": \"30\"\n}\n"),
              "{\n    \"modelPath\": \"/new\",\n    \"depth\": \"30\"\n}\n");
}

TEST_F(ChoosingAModelTest, MakesTheFile) {
    ChooseModel("/new");
    EXPECT_EQ(test::ReadFile(File()), "{\n    \"modelPath\": \"/new\"\n}\n");
}

TEST_F(ChoosingAModelTest, IsRefusedByABrokenFileWhichStays) {
    for (const char* text : {"", "{", "[]", "7", "{\"a\":1}}", "{\"a\":\"\xFF\"}"}) {
        Write(text);
        EXPECT_THROW(ChooseModel("/new"), std::runtime_error) << text;
        EXPECT_EQ(test::ReadFile(File()), text);
    }
    std::filesystem::remove(File());
    std::filesystem::create_directory(File());
    EXPECT_THROW(ChooseModel("/new"), std::runtime_error);
}

}  // namespace
}  // namespace vistrel
