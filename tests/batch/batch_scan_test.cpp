// SPDX-License-Identifier: GPL-3.0-or-later
// Reading the input folder: links, many files, and what fails.
#include <dirent.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/batch/batch_fixture.h"

namespace {

// Entries that the system still gives before reading a folder fails; negative: it never fails.
std::atomic<int> gEntriesUntilFailure = -1;

}  // namespace

// Takes the place of the system's own, as a medium that is pulled out while it is read would.
extern "C" dirent* readdir(DIR* folder) {
    static const auto real = reinterpret_cast<dirent* (*)(DIR*)>(dlsym(RTLD_NEXT, "readdir"));
    if (gEntriesUntilFailure == 0) {
        errno = EIO;
        return nullptr;
    }
    if (gEntriesUntilFailure > 0) --gEntriesUntilFailure;
    return real(folder);
}

namespace vistrel {
namespace {

class BatchScan : public test::BatchFixture {
  protected:
    void ExpectScanError() {
        Run();
        ASSERT_EQ(reports_.size(), 1U);
        EXPECT_EQ(LastReport().errorMessage, L"Failed to scan input directory.");
        EXPECT_FALSE(LastReport().completed);
        EXPECT_FALSE(LastReport().cancelled);
        EXPECT_EQ(LastReport().total, 0);
        EXPECT_TRUE(results_.empty());
        EXPECT_TRUE(Outputs().empty());
    }
};

TEST_F(BatchScan, LinkToAPictureCountsAsOne) {
    std::filesystem::rename(AddPicture("a.png"), folder_ / "elsewhere");
    std::filesystem::create_symlink(folder_ / "elsewhere", input_ / "link.png");
    Run();
    EXPECT_EQ(Outputs(), std::vector<std::string>{"link.ply"});
}

TEST_F(BatchScan, LinkToAFolderAndBrokenLinkAreSkipped) {
    AddPicture("a.png");
    std::filesystem::create_directory_symlink(input_, input_ / "folder.png");
    std::filesystem::create_symlink(folder_ / "nowhere", input_ / "broken.png");
    Run();
    EXPECT_TRUE(LastReport().completed);
    EXPECT_EQ(Outputs(), std::vector<std::string>{"a.ply"});
}

TEST_F(BatchScan, PipeIsSkipped) {
    ASSERT_EQ(mkfifo((input_ / "pipe.png").c_str(), 0600), 0);
    Run();
    EXPECT_TRUE(LastReport().completed);
    EXPECT_EQ(reports_.size(), 1U);
}

TEST_F(BatchScan, LinkToTheInputFolderIsFollowed) {
    AddPicture("a.png");
    std::filesystem::create_directory_symlink(input_, folder_ / "link");
    input_ = folder_ / "link";
    Run();
    EXPECT_EQ(Outputs(), std::vector<std::string>{"a.ply"});
}

TEST_F(BatchScan, MissingFolderIsAnError) {
    std::filesystem::remove(input_);
    ExpectScanError();
}

TEST_F(BatchScan, EmptyFolderNameIsAnError) {
    AddPicture("a.png");
    input_.clear();
    ExpectScanError();
}

TEST_F(BatchScan, FileInPlaceOfTheFolderIsAnError) {
    input_ = AddPicture("a.png");
    ExpectScanError();
    EXPECT_EQ(test::ReadFile(input_), picture_);
}

TEST_F(BatchScan, EntryWhoseKindCannotBeToldIsAnError) {
    AddPicture("a.png");
    std::filesystem::create_symlink(input_ / "circle.txt", input_ / "circle.txt");
    ExpectScanError();
}

TEST_F(BatchScan, FolderThatCannotBeReadToItsEndIsAnError) {
    for (int i = 0; i < 4; ++i) AddPicture(Numbered(i, ".png"));
    for (int entries = 0; entries < 6; ++entries) {
        reports_.clear();
        gEntriesUntilFailure = entries;
        Run();
        gEntriesUntilFailure = -1;
        ASSERT_EQ(reports_.size(), 1U) << entries;
        EXPECT_EQ(LastReport().errorMessage, L"Failed to scan input directory.");
    }
    EXPECT_TRUE(Outputs().empty());
}

TEST_F(BatchScan, TenThousandPicturesAreFoundInNoTime) {
    constexpr int kPictures = 10'000;
    for (int i = 0; i < kPictures; ++i) {
        const std::ofstream picture(input_ / Numbered(i, ".jpg"));
    }
    AddOutput(Numbered(kPictures - 1, ".ply"));
    AnswerConflictWith(BatchConflictPolicy::CancelBatch);
    const auto start = std::chrono::steady_clock::now();
    Run();
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(questions_.size(), 1U);
    EXPECT_LT(seconds.count(), 2.0);
    RecordProperty("seconds", std::to_string(seconds.count()));
}

}  // namespace
}  // namespace vistrel
