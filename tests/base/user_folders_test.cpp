// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/user_folders.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "base/text_encoding.h"
#include "tests/support/own_home.h"

namespace vistrel {
namespace {

class UserFolders : public testing::Test {
  protected:
    void WriteUserDirs(const std::string& text) const {
        std::filesystem::create_directories(home.Home() / ".config");
        std::ofstream(home.Home() / ".config/user-dirs.dirs") << text;
    }
    std::wstring MakeFolder(const std::string& name) const {
        std::filesystem::create_directories(home.Home() / name);
        return FromPath(home.Home() / name);
    }
    [[nodiscard]] std::wstring HomeText() const { return FromPath(home.Home()); }

    test::OwnHome home;
};

TEST_F(UserFolders, DefaultsLieBelowHome) {
    EXPECT_EQ(UserDataFolder(), HomeText() + L"/.local/share");
    EXPECT_EQ(ModelFile(), HomeText() + L"/.local/share/Vistrel/Models/sharp_fp16.onnx");
    EXPECT_EQ(SettingsFile(), HomeText() + L"/.config/Vistrel/settings.json");
    EXPECT_EQ(FailureFile(), HomeText() + L"/.local/state/Vistrel/last_failure");
}

TEST_F(UserFolders, VariablesMoveThem) {
    home.variables.Set("XDG_DATA_HOME", "/data");
    home.variables.Set("XDG_CONFIG_HOME", "/configuration");
    EXPECT_EQ(ModelFile(), L"/data/Vistrel/Models/sharp_fp16.onnx");
    EXPECT_EQ(SettingsFile(), L"/configuration/Vistrel/settings.json");
}

TEST_F(UserFolders, EmptyAndRelativeVariablesDoNotCount) {
    for (const char* value : {"", "relative/folder"}) {
        home.variables.Set("XDG_DATA_HOME", value);
        EXPECT_EQ(UserDataFolder(), HomeText() + L"/.local/share");
    }
}

TEST_F(UserFolders, BytesThatAreNoTextAreKept) {
    home.variables.Set("XDG_DATA_HOME", "/d\xFF");
    EXPECT_EQ(ToPath(UserDataFolder()).string(), "/d\xFF");
}

TEST_F(UserFolders, HomeWithoutItsVariableIsTheUsersOwn) {
    home.variables.Unset("HOME");
    EXPECT_TRUE(ToPath(UserDataFolder()).is_absolute());
}

TEST_F(UserFolders, BrowsersFolderLiesInTheDataHome) {
    home.variables.Set("XDG_DATA_HOME", (home.Temporary() / "da ta").string());
    EXPECT_EQ(MakeBrowserFolder(), FromPath(home.Temporary() / "da ta/Vistrel/WebView2"));
    EXPECT_TRUE(std::filesystem::is_directory(home.Temporary() / "da ta/Vistrel/WebView2"));
    EXPECT_TRUE(std::filesystem::is_empty(home.Home()));
}

TEST_F(UserFolders, BrowsersFolderLiesInTheHomeWithoutADataHome) {
    for (const char* none : {"", "relative/path"}) {
        home.variables.Set("XDG_DATA_HOME", none);
        EXPECT_EQ(MakeBrowserFolder(), HomeText() + L"/.local/share/Vistrel/WebView2");
    }
    EXPECT_TRUE(std::filesystem::is_directory(home.Home() / ".local/share/Vistrel/WebView2"));
}

TEST_F(UserFolders, BrowsersFolderIsItsOwnWithoutAHome) {
    home.variables.Unset("HOME");
    EXPECT_EQ(MakeBrowserFolder(), L"");
    home.variables.Set("HOME", "relative/path");
    EXPECT_EQ(MakeBrowserFolder(), L"");
}

TEST_F(UserFolders, BrowsersFolderMayHaveANameThatIsNoText) {
    home.variables.Set("XDG_DATA_HOME", (home.Temporary() / "\xFF").string());
    EXPECT_EQ(ToPath(MakeBrowserFolder()), home.Temporary() / "\xFF/Vistrel/WebView2");
}

TEST_F(UserFolders, BrowsersFolderIsNamedEvenWhereItCannotBeMade) {
    std::ofstream(home.Temporary() / "file") << "kept";
    home.variables.Set("XDG_DATA_HOME", (home.Temporary() / "file").string());
    EXPECT_EQ(MakeBrowserFolder(), FromPath(home.Temporary() / "file/Vistrel/WebView2"));
    EXPECT_EQ(test::ReadFile(home.Temporary() / "file"), "kept");
}

TEST_F(UserFolders, DocumentsLieInTheirUsualFolder) {
    const std::wstring folder = MakeFolder("Documents");
    EXPECT_EQ(DocumentsFolder(), folder);
}

TEST_F(UserFolders, DesktopNamesTheDocuments) {
    const std::wstring folder = MakeFolder("書類 \"1\"");
    WriteUserDirs(
        "# comment\nXDG_DOCUMENTS_DIRECTORY=\"/\"\n"
        "  XDG_DOCUMENTS_DIR=\"$HOME/書類 \\\"1\\\"\"\nXDG_MUSIC_DIR=\"/\"\n");
    EXPECT_EQ(DocumentsFolder(), folder);
}

TEST_F(UserFolders, DocumentsMayLieOutsideHome) {
    const std::string outside = home.Temporary().string();
    WriteUserDirs("XDG_DOCUMENTS_DIR=\"" + outside + "/\"");
    EXPECT_EQ(DocumentsFolder(), FromUtf8(outside));
}

TEST_F(UserFolders, HomeTakesThePlaceOfMissingDocuments) {
    EXPECT_EQ(DocumentsFolder(), HomeText());
    WriteUserDirs("XDG_DOCUMENTS_DIR=\"$HOME/gone\"\n");
    EXPECT_EQ(DocumentsFolder(), HomeText());
    WriteUserDirs("XDG_DOCUMENTS_DIR=\"$HOME/\"\n");
    EXPECT_EQ(DocumentsFolder(), HomeText());
}

TEST_F(UserFolders, NameWithAZeroByteNamesNoDocuments) {
    using namespace std::string_literals;
    MakeFolder("a");
    WriteUserDirs("XDG_DOCUMENTS_DIR=\"$HOME/a\0b\"\n"s);
    EXPECT_EQ(DocumentsFolder(), HomeText());
}

TEST_F(UserFolders, TemporaryFolderIsTheFirstThatIsSet) {
    home.variables.Set("XDG_RUNTIME_DIR", "/run/somewhere");
    EXPECT_EQ(TemporaryFolder(), FromPath(home.Temporary()) + L'/');
    home.variables.Set("TMPDIR", "");
    EXPECT_EQ(TemporaryFolder(), L"/run/somewhere/");
    home.variables.Set("TMPDIR", "/with/separator/");
    EXPECT_EQ(TemporaryFolder(), L"/with/separator/");
}

TEST_F(UserFolders, RelativeTemporaryFolderIsMadeWhole) {
    home.variables.Set("TMPDIR", "here");
    EXPECT_EQ(TemporaryFolder(), FromPath(std::filesystem::current_path() / "here/"));
}

TEST_F(UserFolders, TemporaryFolderOfLastResortIsTheUsersAlone) {
    home.variables.Unset("TMPDIR");
    const auto folder = TemporaryFolder();
    ASSERT_TRUE(folder);
    EXPECT_EQ(*folder, L"/tmp/vistrel-" + std::to_wstring(geteuid()) + L'/');
    struct stat found = {};
    ASSERT_EQ(stat(ToPath(*folder).c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777U, 0700U);
    EXPECT_EQ(found.st_uid, geteuid());
}

TEST_F(UserFolders, PrivateFolderIsMade) {
    const auto folder = home.Home() / "mine";
    EXPECT_TRUE(MakePrivateFolder(FromPath(folder)));
    EXPECT_EQ(std::filesystem::status(folder).permissions(), std::filesystem::perms{0700});
    EXPECT_TRUE(MakePrivateFolder(FromPath(folder)));
}

TEST_F(UserFolders, OpenFolderOfOnesOwnIsClosedToOthers) {
    const std::wstring folder = MakeFolder("open");
    std::filesystem::permissions(ToPath(folder), std::filesystem::perms{0777});
    EXPECT_TRUE(MakePrivateFolder(folder));
    EXPECT_EQ(std::filesystem::status(ToPath(folder)).permissions(), std::filesystem::perms{0700});
}

TEST_F(UserFolders, LinkIsNoPrivateFolder) {
    const std::wstring folder = MakeFolder("mine");
    std::filesystem::create_symlink(ToPath(folder), home.Home() / "link");
    EXPECT_FALSE(MakePrivateFolder(HomeText() + L"/link"));
    EXPECT_FALSE(MakePrivateFolder(HomeText() + L"/link/"));
}

TEST_F(UserFolders, FileIsNoPrivateFolder) {
    std::ofstream(home.Home() / "file") << "a file";
    EXPECT_FALSE(MakePrivateFolder(HomeText() + L"/file"));
}

TEST_F(UserFolders, FolderOfSomebodyElseIsNoPrivateFolder) {
    std::wstring folder = L"/";
    if (geteuid() == 0) {
        folder = MakeFolder("theirs");
        ASSERT_EQ(chown(ToPath(folder).c_str(), 1, 1), 0);
    }
    EXPECT_FALSE(MakePrivateFolder(folder));
}

TEST_F(UserFolders, PrivateFolderNeedsItsParent) {
    EXPECT_FALSE(MakePrivateFolder(HomeText() + L"/gone/mine"));
}

TEST_F(UserFolders, FirstModelIsTheReliefDemoOfThePackage) {
    const std::wstring folder = MakeFolder("program/resources/relief");
    std::ofstream(ToPath(folder + L"/vistrel_relief_demo.onnx")) << "a network";
    EXPECT_EQ(FirstModel(HomeText() + L"/program"), folder + L"/vistrel_relief_demo.onnx");
}

TEST_F(UserFolders, FirstModelIsNoneWhereThereIsNoPackage) {
    EXPECT_EQ(FirstModel(HomeText()), L"");
    MakeFolder("resources/relief/vistrel_relief_demo.onnx");
    EXPECT_EQ(FirstModel(HomeText()), L"");
}

TEST_F(UserFolders, ProgramFolderHoldsTheRunningProgram) {
    const auto program = std::filesystem::read_symlink("/proc/self/exe");
    EXPECT_EQ(ProgramFolder(), FromPath(program.parent_path()));
}

}  // namespace
}  // namespace vistrel
