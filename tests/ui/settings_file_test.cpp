// SPDX-License-Identifier: GPL-3.0-or-later
// The file of the settings where it is broken, protected, or not alone.
#include <QJsonDocument>
#include <QJsonObject>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/support/another_process.h"
#include "tests/ui/settings_fixture.h"
#include "ui/settings.h"

namespace vistrel {
namespace {

using test::ExpectSame;
using SettingsFileTest = test::SettingsTest;

TEST_F(SettingsFileTest, BrokenFilesChangeNothingAndAreReplaced) {
    const std::string whole = R"({"stereoMode":1,"modelPath":"/x")";
    for (const std::string& text :
         {std::string(), whole, whole + "}}", std::string("[1]"), std::string("7"),
          std::string("{\"a\":\"\xFF\"}"), std::string(5000, '['), std::string(64, '\0')}) {
        ExpectSame(Loaded(text), test::UnusualSettings());
        EXPECT_EQ(test::ReadFile(File()), text);
        test::UnusualSettings().Save();
        AppSettings again;
        again.Load();
        ExpectSame(again, test::UnusualSettings());
    }
}

TEST_F(SettingsFileTest, MembersOfOthersSurvive) {
    Write(R"({"theirs":{"a":[1,2.5,"x",null,true]},"big":9007199254740993,"stereoMode":"wrong"})");
    test::UnusualSettings().Save();
    const QJsonObject written = Written();
    EXPECT_EQ(written["theirs"],
              QJsonDocument::fromJson(R"({"a":[1,2.5,"x",null,true]})").object());
    EXPECT_EQ(written["big"].toInteger(), 9007199254740993);
    EXPECT_EQ(written["stereoMode"].toInt(), 3);
    EXPECT_EQ(written.size(), 11);
}

TEST_F(SettingsFileTest, ByteOrderMarksOfOthersSurvive) {
    Write(R"({"theirs":"\ufeffx"})");
    test::UnusualSettings().Save();
    test::UnusualSettings().Save();
    EXPECT_NE(test::ReadFile(File()).find("\"\xEF\xBB\xBFx\""), std::string::npos);
}

TEST_F(SettingsFileTest, SavingLeavesNothingElseInTheFolder) {
    test::UnusualSettings().Save();
    test::UnusualSettings().Save();
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Folder()), {}), 1);
}

TEST_F(SettingsFileTest, SaveIsLostWhereAFileTakesTheFoldersPlace) {
    std::filesystem::create_directories(Folder().parent_path());
    std::ofstream(Folder()) << "mine";
    AppSettings settings = test::UnusualSettings();
    settings.Save();
    settings.Load();
    ExpectSame(settings, test::UnusualSettings());
    EXPECT_EQ(test::ReadFile(Folder()), "mine");
}

TEST_F(SettingsFileTest, FolderInPlaceOfTheFileIsLeftAlone) {
    std::filesystem::create_directories(File() / "inside");
    AppSettings settings = test::UnusualSettings();
    settings.Load();
    ExpectSame(settings, test::UnusualSettings());
    settings.Save();
    EXPECT_TRUE(std::filesystem::is_directory(File() / "inside"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Folder()), {}), 1);
}

// Loads and saves without the rights of root; whether the record is as it was.
bool LoadsNothing() {
    AppSettings settings;
    settings.stereoMode = 3;
    settings.Load();
    settings.Save();
    return settings.stereoMode == 3;
}

TEST_F(SettingsFileTest, ProtectedFolderLosesTheSave) {
    std::filesystem::create_directories(Folder());
    home.Protect(Folder());
    EXPECT_TRUE(test::RunAsNobody(LoadsNothing));
    EXPECT_TRUE(std::filesystem::is_empty(Folder()));
}

TEST_F(SettingsFileTest, ProtectedFileStaysAsItIs) {
    Write(R"({"stereoMode":5})");
    home.Protect(Folder());
    std::filesystem::permissions(File(), std::filesystem::perms{0444});
    EXPECT_FALSE(test::RunAsNobody(LoadsNothing));
    EXPECT_EQ(test::ReadFile(File()), R"({"stereoMode":5})");
}

TEST_F(SettingsFileTest, FileThatCannotBeReadChangesNothingAndStays) {
    Write(R"({"stereoMode":5})");
    home.Protect(Folder());
    std::filesystem::permissions(Folder(), std::filesystem::perms{0777});
    std::filesystem::permissions(File(), std::filesystem::perms{0200});
    EXPECT_TRUE(test::RunAsNobody(LoadsNothing));
    std::filesystem::permissions(File(), std::filesystem::perms{0600});
    EXPECT_EQ(test::ReadFile(File()), R"({"stereoMode":5})");
}

TEST_F(SettingsFileTest, LinkToTheFileStaysALink) {
    std::filesystem::create_directories(Folder());
    const auto target = home.Home() / "kept_elsewhere.json";
    std::filesystem::create_symlink(target, File());
    test::UnusualSettings().Save();
    EXPECT_TRUE(std::filesystem::is_symlink(File()));
    AppSettings settings;
    settings.Load();
    ExpectSame(settings, test::UnusualSettings());
    EXPECT_TRUE(std::filesystem::is_regular_file(target));
}

TEST_F(SettingsFileTest, SavingKeepsThePermissionsOfTheFile) {
    test::UnusualSettings().Save();
    std::filesystem::permissions(File(), std::filesystem::perms{0600});
    test::UnusualSettings().Save();
    EXPECT_EQ(std::filesystem::status(File()).permissions(), std::filesystem::perms{0600});
}

}  // namespace
}  // namespace vistrel
