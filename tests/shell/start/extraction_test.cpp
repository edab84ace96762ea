// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/start/extraction.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QResource>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/text_encoding.h"
#include "base/whole_file.h"
#include "tests/support/another_process.h"
#include "tests/support/own_home.h"

namespace vistrel {
namespace {

using std::filesystem::path;
using std::filesystem::perms;

class Extraction : public testing::Test {
  protected:
    Extraction() { std::filesystem::create_directories(App()); }

    [[nodiscard]] path App() const { return home.Home() / "app"; }
    [[nodiscard]] path Web() const { return home.Temporary() / "VistrelWeb"; }
    // What is extracted where, and from what the build made it.
    [[nodiscard]] std::map<path, path> Files() const {
        const path build = VISTREL_BUILD;
        std::map<path, path> files = {
            {App() / "help_en.html", build / "manual/help_en.html"},
            {App() / "help_jp.html", build / "manual/help_jp.html"},
            {App() / "WebView2Loader.dll", build / "bin/WebView2Loader.dll"}};
        for (const char* name : {"gaus3d.html", "three.module.js", "three.core.js",
                                 "spark.module.js", "OrbitControls3d.js"})
            files.emplace(Web() / name, build / "web" / name);
        return files;
    }
    [[nodiscard]] std::optional<ProgramFiles> Extract() const {
        return ExtractResources(FromPath(App()));
    }

    test::OwnHome home;
};

long Entries(const path& folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

ino_t FileNumber(const path& file) {
    struct stat found = {};
    EXPECT_EQ(stat(file.c_str(), &found), 0);
    return found.st_ino;
}

TEST_F(Extraction, EveryFileIsTheOneOfTheBuild) {
    const auto result = Extract();
    ASSERT_TRUE(result);
    EXPECT_EQ(result->appDir, FromPath(App()));
    EXPECT_EQ(result->loaderPath, FromPath(App() / "WebView2Loader.dll"));
    EXPECT_EQ(result->webDir, FromPath(Web()));
    for (const auto& [file, original] : Files())
        EXPECT_TRUE(test::ReadFile(file) == test::ReadFile(original)) << file;
    EXPECT_EQ(Entries(App()), 3);
    EXPECT_EQ(Entries(Web()), 5);
}

TEST_F(Extraction, StaleFilesAreWrittenAnew) {
    ASSERT_TRUE(Extract());
    for (const auto& [file, original] : Files())
        if (file.filename() != "WebView2Loader.dll") std::ofstream(file) << "stale";
    ASSERT_TRUE(Extract());
    for (const auto& [file, original] : Files())
        EXPECT_TRUE(test::ReadFile(file) == test::ReadFile(original)) << file;
}

TEST_F(Extraction, EqualFilesAreWrittenAnewToo) {
    ASSERT_TRUE(Extract());
    std::map<path, std::ifstream> old;  // kept open, so that no new file can get its number
    std::map<path, ino_t> numbers;
    for (const auto& [file, original] : Files()) {
        old.emplace(file, file);
        numbers[file] = FileNumber(file);
    }
    ASSERT_TRUE(Extract());
    for (const auto& [file, number] : numbers)
        EXPECT_EQ(FileNumber(file) == number, file.filename() == "WebView2Loader.dll") << file;
}

TEST_F(Extraction, LoaderThatIsThereStays) {
    for (const std::string& bytes : {std::string("newer\0loader", 12), std::string()}) {
        std::ofstream(App() / "WebView2Loader.dll", std::ios::binary) << bytes;
        EXPECT_TRUE(Extract());
        EXPECT_EQ(test::ReadFile(App() / "WebView2Loader.dll"), bytes);
    }
}

TEST_F(Extraction, ProtectedProgramFolderFails) {
    home.Protect(App());
    EXPECT_FALSE(test::RunAsNobody([&] { return Extract().has_value(); }));
    EXPECT_EQ(Entries(App()), 0);
    EXPECT_FALSE(std::filesystem::exists(Web()));
}

TEST_F(Extraction, ProtectedProgramFolderWithTheSameFilesWillDo) {
    ASSERT_TRUE(Extract());
    home.Protect(App());
    // The page's folder is each user's own.
    std::filesystem::remove_all(Web());
    std::filesystem::permissions(home.Temporary(), perms::all);
    EXPECT_TRUE(test::RunAsNobody([&] { return Extract().has_value(); }));
}

TEST_F(Extraction, ProtectedProgramFolderWithAnotherHelpPageFails) {
    ASSERT_TRUE(Extract());
    std::ofstream(App() / "help_jp.html") << "older";
    home.Protect(App());
    EXPECT_FALSE(test::RunAsNobody([&] { return Extract().has_value(); }));
    EXPECT_EQ(test::ReadFile(App() / "help_jp.html"), "older");
}

TEST_F(Extraction, FolderInPlaceOfAHelpPageFails) {
    std::filesystem::create_directories(App() / "help_jp.html");
    EXPECT_FALSE(Extract());
    EXPECT_EQ(Entries(App()), 2);
    EXPECT_TRUE(std::filesystem::exists(App() / "help_en.html"));
    EXPECT_FALSE(std::filesystem::exists(Web()));
}

TEST_F(Extraction, LoaderThatCannotBeWrittenFails) {
    std::filesystem::create_symlink(App() / "gone/loader", App() / "WebView2Loader.dll");
    EXPECT_FALSE(Extract());
    EXPECT_FALSE(std::filesystem::exists(Web()));
}

TEST_F(Extraction, MissingTemporaryFolderIsMade) {
    home.variables.Set("TMPDIR", (home.Temporary() / "a/b").string());
    EXPECT_TRUE(Extract());
    EXPECT_EQ(Entries(home.Temporary() / "a/b/VistrelWeb"), 5);
}

TEST_F(Extraction, FileInPlaceOfTheTemporaryFolderFails) {
    std::ofstream(home.Temporary() / "file") << "mine";
    for (const char* name : {"file", "file/below"}) {
        home.variables.Set("TMPDIR", (home.Temporary() / name).string());
        EXPECT_FALSE(Extract());
    }
    EXPECT_EQ(test::ReadFile(home.Temporary() / "file"), "mine");
}

TEST_F(Extraction, ProtectedTemporaryFolderFails) {
    home.Protect(App());
    std::filesystem::permissions(App(), perms{0777});
    std::filesystem::permissions(home.Temporary(), perms{0555});
    EXPECT_FALSE(test::RunAsNobody([&] { return Extract().has_value(); }));
    EXPECT_EQ(Entries(home.Temporary()), 0);
}

TEST_F(Extraction, WebFolderOfSomebodyElseFails) {
    std::filesystem::create_directories(Web());
    if (geteuid() == 0) {
        ASSERT_EQ(chown(Web().c_str(), 1, 1), 0);
    } else {
        std::filesystem::remove(Web());
        std::filesystem::create_directory_symlink("/", Web());
    }
    EXPECT_FALSE(Extract());
    EXPECT_FALSE(std::filesystem::exists(Web() / "gaus3d.html"));
}

TEST_F(Extraction, LinkInPlaceOfTheWebFolderFails) {
    const path target = home.Home() / "target";
    std::filesystem::create_directories(target);
    std::filesystem::create_directory_symlink(target, Web());
    EXPECT_FALSE(Extract());
    EXPECT_EQ(Entries(target), 0);
}

TEST_F(Extraction, FileInPlaceOfTheWebFolderFails) {
    std::ofstream(Web()) << "mine";
    EXPECT_FALSE(Extract());
    EXPECT_EQ(test::ReadFile(Web()), "mine");
}

TEST_F(Extraction, FolderInPlaceOfAWebFileFails) {
    std::filesystem::create_directories(Web() / "three.core.js");
    EXPECT_FALSE(Extract());
    EXPECT_TRUE(std::filesystem::exists(Web() / "three.module.js"));
    EXPECT_FALSE(std::filesystem::exists(Web() / "spark.module.js"));
}

TEST_F(Extraction, PageAloneGoesToAnyFolder) {
    EXPECT_TRUE(ExtractWebPage(FromPath(App())));
    EXPECT_EQ(Entries(App()), 5);
    EXPECT_FALSE(ExtractWebPage(FromPath(App() / "gone")));
}

class ExtractedResource : public Extraction {
  protected:
    ExtractedResource() { QResource::registerResource(VISTREL_ODD_RESOURCES); }
    ~ExtractedResource() override { QResource::unregisterResource(VISTREL_ODD_RESOURCES); }
};

TEST_F(ExtractedResource, MissingOneFails) {
    EXPECT_FALSE(ExtractResourceToFile(9000, FromPath(App() / "f")));
    EXPECT_EQ(Entries(App()), 0);
}

TEST_F(ExtractedResource, EmptyOneFails) {
    const path file = App() / "f";
    std::ofstream(file) << "mine";
    EXPECT_FALSE(ExtractResourceToFile(9001, FromPath(file)));
    EXPECT_EQ(test::ReadFile(file), "mine");
}

TEST_F(ExtractedResource, CompressedOneIsExpanded) {
    EXPECT_TRUE(ExtractResourceToFile(9002, FromPath(App() / "f")));
    EXPECT_EQ(test::ReadFile(App() / "f"),
              test::ReadFile(path(VISTREL_SOURCE) / "tests/shell/start/odd/compressible.txt"));
}

TEST_F(Extraction, ProgramsThatStartTogetherShowEachOtherWholeFiles) {
    ASSERT_TRUE(Extract());
    std::map<path, std::string> expected;
    for (const auto& [file, original] : Files()) expected[file] = test::ReadFile(original);
    constexpr int kStarts = 20;
    const auto start = [&] {
        for (int i = 0; i < kStarts; ++i)
            if (!Extract()) return false;
        return true;
    };
    const pid_t first = test::Fork(start, false);
    const pid_t second = test::Fork(start, false);
    int readings = 0;
    bool whole = true;
    siginfo_t ended = {};
    while (waitid(P_PID, static_cast<id_t>(first), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           ended.si_pid == 0) {
        for (const auto& [file, bytes] : expected) whole = whole && ReadWholeFile(file) == bytes;
        ++readings;
    }
    EXPECT_TRUE(test::Join(first));
    EXPECT_TRUE(test::Join(second));
    EXPECT_TRUE(whole);
    EXPECT_GT(readings, 0);
    EXPECT_EQ(Entries(Web()), 5);
}

}  // namespace
}  // namespace vistrel
