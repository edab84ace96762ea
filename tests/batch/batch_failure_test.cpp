// SPDX-License-Identifier: GPL-3.0-or-later
// Files that cannot be converted do not end a batch, and lose nothing.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/batch/batch_fixture.h"

namespace vistrel {
namespace {

using Names = std::vector<std::string>;

class BatchFailure : public test::BatchFixture {};

TEST_F(BatchFailure, FileThatFailsIsSkipped) {
    AddPicture("a.png");
    AddFile("broken.png", "no picture");
    AddPicture("c.png");
    Run();
    EXPECT_EQ(ReportedFiles().size(), 3U);
    EXPECT_TRUE(LastReport().completed);
    EXPECT_EQ(Outputs(), (Names{"a.ply", "c.ply"}));
    EXPECT_EQ(std::ranges::count(results_, false, &std::pair<bool, std::wstring>::first), 1);
}

TEST_F(BatchFailure, WebpIsHandedOnAndFails) {
    AddFile("a.webp", std::string("RIFF\x1A\0\0\0WEBPVP8L", 16));
    AddPicture("b.png");
    Run();
    EXPECT_EQ(ReportedFiles().size(), 2U);
    const std::pair<bool, std::wstring> failure(false,
                                                L"stb_image failed to load (unknown image type)");
    EXPECT_EQ(std::ranges::count(results_, failure), 1);
    EXPECT_TRUE(LastReport().completed);
    EXPECT_EQ(Outputs(), Names{"b.ply"});
}

TEST_F(BatchFailure, FailedFileKeepsTheFormerOutput) {
    AddFile("broken.png", "no picture");
    AddOutput("broken.ply");
    AnswerConflictWith(BatchConflictPolicy::OverwriteAll);
    Run();
    EXPECT_EQ(Outputs(), Names{"broken.ply (former)"});
}

TEST_F(BatchFailure, MissingModelFailsEveryFile) {
    AddPicture("a.png");
    AddPicture("b.png");
    model_ = L"no such model";
    Run();
    EXPECT_EQ(results_.size(), 2U);
    EXPECT_TRUE(LastReport().completed);
    EXPECT_TRUE(Outputs().empty());
}

TEST_F(BatchFailure, MissingOutputFolderFailsEveryFileAndIsNotMade) {
    AddPicture("a.png");
    AddPicture("b.png");
    std::filesystem::remove(output_);
    Run();
    EXPECT_EQ(results_,
              (std::vector<std::pair<bool, std::wstring>>(2, {false, L"Cannot open output file"})));
    EXPECT_TRUE(LastReport().completed);
    EXPECT_FALSE(std::filesystem::exists(output_));
}

TEST_F(BatchFailure, FileInPlaceOfTheOutputFolderFailsEveryFileAndStays) {
    AddPicture("a.png");
    std::filesystem::remove(output_);
    folder_.Write("out", "kept");
    AnswerConflictWith(BatchConflictPolicy::CancelBatch);
    Run();
    EXPECT_TRUE(questions_.empty());
    EXPECT_EQ(results_.size(), 1U);
    EXPECT_TRUE(LastReport().completed);
    EXPECT_EQ(test::ReadFile(output_), "kept");
}

TEST_F(BatchFailure, ListenerThatThrowsAtAFailureDoesNotEndTheBatch) {
    AddFile("a.png", "no picture");
    AddFile("b.png", "no picture");
    AfterEachFile([](std::size_t) { throw std::runtime_error("listener gone"); });
    Run();
    EXPECT_EQ(results_.size(), 2U);
    EXPECT_TRUE(LastReport().completed);
}

TEST_F(BatchFailure, ReportThatThrowsFailsItsFileOnly) {
    AddPicture("a.png");
    AddPicture("b.png");
    converter_.onProgress = [this](const BatchProgressInfo& info) {
        reports_.push_back(info);
        if (info.current == 1) throw std::runtime_error("cannot show");
    };
    Run();
    EXPECT_EQ(results_.front(), std::make_pair(false, std::wstring(L"cannot show")));
    EXPECT_TRUE(results_.back().first);
    EXPECT_TRUE(LastReport().completed);
    EXPECT_EQ(Outputs().size(), 1U);
}

}  // namespace
}  // namespace vistrel
