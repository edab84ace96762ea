#include "viewer/user_data_folder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "base/text_encoding.h"
#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

using test::TemporaryFolder;

class UserDataFolder : public testing::Test {
  protected:
    UserDataFolder() {
        unsetenv("XDG_DATA_HOME");
        unsetenv("HOME");
    }

    static void Set(const char* variable, const std::filesystem::path& value) {
        setenv(variable, value.c_str(), 1);
    }

    const TemporaryFolder folder_;
};

TEST_F(UserDataFolder, LiesInTheDataHome) {
    Set("XDG_DATA_HOME", folder_ / "da ta");
    Set("HOME", folder_ / "home");
    EXPECT_EQ(MakeUserDataFolder(), FromPath(folder_ / "da ta/Vistrel/WebView2"));
    EXPECT_TRUE(std::filesystem::is_directory(folder_ / "da ta/Vistrel/WebView2"));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "home"));
}

TEST_F(UserDataFolder, LiesInTheHomeWithoutADataHome) {
    Set("HOME", folder_ / "home");
    for (const char* none : {"", "relative/path"}) {
        Set("XDG_DATA_HOME", none);
        EXPECT_EQ(MakeUserDataFolder(), FromPath(folder_ / "home/.local/share/Vistrel/WebView2"));
    }
    EXPECT_TRUE(std::filesystem::is_directory(folder_ / "home/.local/share/Vistrel/WebView2"));
}

TEST_F(UserDataFolder, IsTheBrowsersOwnWithoutAHome) {
    EXPECT_EQ(MakeUserDataFolder(), L"");
}

TEST_F(UserDataFolder, NameThatIsNoUtf8) {
    Set("XDG_DATA_HOME", folder_ / "\xff");
    EXPECT_EQ(ToPath(MakeUserDataFolder()), folder_ / "\xff/Vistrel/WebView2");
}

TEST_F(UserDataFolder, IsNamedEvenWhereItCannotBeMade) {
    Set("XDG_DATA_HOME", folder_.Write("file", "kept"));
    EXPECT_EQ(MakeUserDataFolder(), FromPath(folder_ / "file/Vistrel/WebView2"));
    EXPECT_EQ(test::ReadFile(folder_ / "file"), "kept");
}

}  // namespace
}  // namespace vistrel
