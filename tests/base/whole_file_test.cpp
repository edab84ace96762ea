#include "base/whole_file.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "tests/support/another_process.h"
#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

long Entries(const std::filesystem::path& folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

class WholeFile : public testing::Test {
  protected:
    ~WholeFile() override {
        std::filesystem::permissions(folder.Path(), std::filesystem::perms{0700});
    }
    test::TemporaryFolder folder;
};

TEST_F(WholeFile, BytesComeBack) {
    std::string bytes(200000, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * i);
    ASSERT_TRUE(WriteWholeFile(folder / "f", bytes, true));
    EXPECT_EQ(ReadWholeFile(folder / "f"), bytes);
    EXPECT_EQ(Entries(folder.Path()), 1);
}

TEST_F(WholeFile, ShorterFileReplacesALongerOne) {
    const auto path = folder.Write("f", "something long");
    ASSERT_TRUE(WriteWholeFile(path, "x", false));
    EXPECT_EQ(ReadWholeFile(path), "x");
}

TEST_F(WholeFile, ReaderOfTheOldFileKeepsIt) {
    const auto path = folder.Write("f", "old");
    std::ifstream reader(path);
    ASSERT_TRUE(WriteWholeFile(path, "new", false));
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}), "old");
}

TEST_F(WholeFile, NamesThatAreNoTextWork) {
    ASSERT_TRUE(WriteWholeFile(folder.Path() / "\xFF", "x", false));
    EXPECT_EQ(ReadWholeFile(folder.Path() / "\xFF"), "x");
}

TEST_F(WholeFile, LeftoversOfAKilledProgramAreNoHindrance) {
    folder.Write("f." + std::to_string(getpid()) + "-0.new", "half");
    EXPECT_TRUE(WriteWholeFile(folder / "f", "x", false));
    EXPECT_EQ(ReadWholeFile(folder / "f"), "x");
}

TEST_F(WholeFile, MissingFolderFails) {
    EXPECT_FALSE(WriteWholeFile(folder / "gone/f", "x", false));
    EXPECT_FALSE(std::filesystem::exists(folder / "gone"));
}

TEST_F(WholeFile, FolderIsNoFile) {
    EXPECT_FALSE(WriteWholeFile(folder.Path(), "x", false));
    EXPECT_FALSE(ReadWholeFile(folder.Path()));
    EXPECT_EQ(Entries(folder.Path()), 0);
}

TEST_F(WholeFile, DevicesAndPipesAreNoFiles) {
    const auto pipe = folder / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const auto& path : {pipe, std::filesystem::path("/dev/null")}) {
        EXPECT_FALSE(WriteWholeFile(path, "x", false));
        EXPECT_FALSE(ReadWholeFile(path));
    }
    EXPECT_TRUE(std::filesystem::is_fifo(pipe));
}

TEST_F(WholeFile, WhatExistsIsToldFromWhatDoesNot) {
    EXPECT_EQ(Exists(folder.Write("f", "")), true);
    EXPECT_EQ(Exists(folder.Path()), true);
    EXPECT_EQ(Exists(folder / "gone"), false);
    EXPECT_EQ(Exists(folder / "f/gone"), false);
}

TEST_F(WholeFile, NobodyCanTellWhatANameTooLongIs) {
    EXPECT_EQ(Exists(folder / std::string(300, 'x')), std::nullopt);
}

TEST_F(WholeFile, LinksInARingFail) {
    std::filesystem::create_symlink("b", folder / "a");
    std::filesystem::create_symlink("a", folder / "b");
    EXPECT_FALSE(WriteWholeFile(folder / "a", "x", false));
    EXPECT_EQ(Entries(folder.Path()), 2);
}

TEST_F(WholeFile, FullDiskLeavesTheOldFile) {
    const auto path = folder.Write("f", "old");
    std::filesystem::permissions(folder.Path(), std::filesystem::perms{0777});
    std::filesystem::permissions(path, std::filesystem::perms{0666});
    EXPECT_FALSE(test::RunAsNobody([&] {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{1000, 1000};
        setrlimit(RLIMIT_FSIZE, &limit);
        return WriteWholeFile(path, std::string(2000, 'x'), false);
    }));
    EXPECT_EQ(ReadWholeFile(path), "old");
    EXPECT_EQ(Entries(folder.Path()), 1);
}

TEST_F(WholeFile, FolderThatTakesNoNewFileStillTakesNewBytes) {
    const auto path = folder.Write("f", "something long");
    std::filesystem::permissions(folder.Path(), std::filesystem::perms{0555});
    std::filesystem::permissions(path, std::filesystem::perms{0666});
    EXPECT_TRUE(test::RunAsNobody([&] { return WriteWholeFile(path, "new", false); }));
    EXPECT_EQ(ReadWholeFile(path), "new");
}

TEST_F(WholeFile, ProtectedFolderTakesNoNewFile) {
    std::filesystem::permissions(folder.Path(), std::filesystem::perms{0555});
    EXPECT_FALSE(test::RunAsNobody([&] { return WriteWholeFile(folder / "f", "x", false); }));
    EXPECT_EQ(Entries(folder.Path()), 0);
}

}  // namespace
}  // namespace vistrel
