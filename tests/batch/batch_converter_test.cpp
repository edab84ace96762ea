// SPDX-License-Identifier: GPL-3.0-or-later
// The course of a batch: its reports, and whom it tells what.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "tests/batch/batch_fixture.h"

namespace vistrel {
namespace {

using Names = std::vector<std::string>;

class BatchConverterTest : public test::BatchFixture {};

TEST_F(BatchConverterTest, EveryStageOfEveryFileIsReported) {
    AddPicture("a.png");
    AddPicture("b.png");
    Run();
    ASSERT_EQ(reports_.size(), 9U);
    for (std::size_t i = 0; i < 8; ++i) {
        EXPECT_EQ(reports_[i].current, i < 4 ? 1 : 2);
        EXPECT_EQ(reports_[i].total, 2);
        EXPECT_EQ(reports_[i].fileName, reports_[i < 4 ? 0 : 4].fileName);
        EXPECT_FALSE(IsLast(reports_[i]));
    }
    EXPECT_NE(reports_[0].fileName, reports_[4].fileName);
    EXPECT_EQ(Outputs(), (Names{"a.ply", "b.ply"}));
}

TEST_F(BatchConverterTest, BatchThatRanToItsEndIsCompleted) {
    AddPicture("a.png");
    Run();
    EXPECT_TRUE(LastReport().completed);
    EXPECT_FALSE(LastReport().cancelled);
    EXPECT_TRUE(LastReport().errorMessage.empty());
    EXPECT_TRUE(NamesNoFile(LastReport()));
}

TEST_F(BatchConverterTest, OutputIsWhatTheEngineAloneMakes) {
    const std::filesystem::path picture = AddPicture("a.png");
    Run();
    ASSERT_TRUE(engine_->Run({model_, FromPath(picture), FromPath(folder_ / "single.ply")}));
    EXPECT_EQ(test::ReadFile(output_ / "a.ply"), test::ReadFile(folder_ / "single.ply"));
}

TEST_F(BatchConverterTest, FolderWithoutPicturesIsCompletedAtOnce) {
    AddFile("notes.txt", "");
    Run();
    ASSERT_EQ(reports_.size(), 1U);
    EXPECT_TRUE(LastReport().completed);
    EXPECT_FALSE(LastReport().cancelled);
    EXPECT_TRUE(NamesNoFile(LastReport()));
}

TEST_F(BatchConverterTest, RunsWithoutAnyCallback) {
    AddPicture("a.png");
    AddOutput("a.ply");
    AddPicture("broken.png");
    AddFile("broken.png", "no picture");
    converter_.onProgress = nullptr;
    converter_.onFileFinished = nullptr;
    Run();
    EXPECT_EQ(Outputs(), Names{"a.ply"});
    std::filesystem::remove_all(input_);
    Run();
    std::filesystem::create_directory(input_);
    Run();
}

TEST_F(BatchConverterTest, SecondsCountFromTheStartOfTheFile) {
    AddPicture("a.png");
    AddPicture("b.png");
    const auto hold = std::chrono::milliseconds(1100);
    std::vector<int> seconds;
    converter_.onProgress = [&](const BatchProgressInfo& info) {
        if (info.current != 1) reports_.push_back(info);
        if (info.current == 1) {
            seconds.push_back(info.elapsedSeconds);
            // What takes time here is part of the file's own.
            if (seconds.size() == 1) std::this_thread::sleep_for(hold);
        }
    };
    Run();
    ASSERT_EQ(seconds.size(), 4U);
    EXPECT_EQ(seconds.front(), 0);
    EXPECT_GE(seconds[1], 1);
    ASSERT_FALSE(reports_.empty());
    EXPECT_EQ(reports_.front().elapsedSeconds, 0);
}

TEST_F(BatchConverterTest, OutputsMayGoIntoTheInputFolder) {
    AddPicture("a.png");
    AddPicture("b.png");
    output_ = input_;
    Run();
    EXPECT_TRUE(LastReport().completed);
    EXPECT_TRUE(std::filesystem::exists(input_ / "a.ply"));
    EXPECT_EQ(test::ReadFile(input_ / "a.png"), picture_);
    EXPECT_EQ(ReportedFiles().size(), 2U);
}

TEST_F(BatchConverterTest, ProviderIsPassedOn) {
    AddPicture("a.png");
    BatchConverter converter(std::make_shared<ConversionEngine>(
        [] { return std::vector<std::string>{"CPUExecutionProvider"}; }));
    converter.onFileFinished = converter_.onFileFinished;
    for (const std::int32_t provider : {1, 0, 7, -1}) {
        converter.Run(model_, FromPath(input_), FromPath(output_), provider);
    }
    ASSERT_EQ(results_.size(), 4U);
    EXPECT_TRUE(results_[0].second.starts_with(L"CUDAExecutionProvider not found"));
    for (std::size_t i = 1; i < 4; ++i) EXPECT_TRUE(results_[i].first);
}

TEST_F(BatchConverterTest, EndOfEveryFileIsToldWithItsOutput) {
    AddPicture("a.png");
    Run();
    EXPECT_EQ(results_, (std::vector{std::pair(true, FromPath(output_ / "a.ply"))}));
}

TEST_F(BatchConverterTest, AnotherRunOfTheEngineMeanwhileIsNotHeardOf) {
    const std::filesystem::path picture = AddPicture("a.png");
    int stagesOfTheOther = 0;
    converter_.onProgress = [&](const BatchProgressInfo& info) {
        reports_.push_back(info);
        if (reports_.size() != 1) return;
        EXPECT_TRUE(engine_->Run({model_, FromPath(picture), FromPath(folder_ / "other.ply")},
                                 {.onProgress = [&](const std::wstring&) { ++stagesOfTheOther; }}));
    };
    Run();
    EXPECT_EQ(stagesOfTheOther, 4);
    EXPECT_EQ(reports_.size(), 5U);
    EXPECT_EQ(results_, (std::vector{std::pair(true, FromPath(output_ / "a.ply"))}));
}

TEST_F(BatchConverterTest, ConverterKeepsItsEngine) {
    AddPicture("a.png");
    const std::weak_ptr<ConversionEngine> engine = engine_;
    engine_.reset();
    EXPECT_FALSE(engine.expired());
    Run();
    EXPECT_EQ(Outputs(), Names{"a.ply"});
}

TEST_F(BatchConverterTest, CallbacksOfTheBatchStayForTheNextRun) {
    AddPicture("a.png");
    AnswerConflictWith(BatchConflictPolicy::CancelBatch);
    Run();
    reports_.clear();
    Run();
    EXPECT_EQ(questions_.size(), 1U);
    EXPECT_TRUE(LastReport().cancelled);
}

TEST_F(BatchConverterTest, AllCallbacksComeOnTheThreadOfTheRun) {
    AddPicture("a.png");
    AddOutput("a.ply");
    std::vector<std::thread::id> callers;
    const auto note = [&callers] { callers.push_back(std::this_thread::get_id()); };
    converter_.onProgress = [&](const BatchProgressInfo&) { note(); };
    converter_.onConflict = [&](const std::wstring&) {
        note();
        return BatchConflictPolicy::OverwriteAll;
    };
    AfterEachFile([&](std::size_t) { note(); });
    std::thread worker([this] { Run(); });
    const std::thread::id id = worker.get_id();
    worker.join();
    EXPECT_EQ(callers, std::vector<std::thread::id>(7, id));
}

TEST_F(BatchConverterTest, NamesWithAnyBytesAreConvertedAndReportedWithoutLoss) {
    const std::string stem = "\xE5\x86\x99\xE7\x9C\x9F # %s \xFF\xED\xA0\x80";
    input_ = folder_ / "in \xFE";
    output_ = folder_ / "out \xFE";
    std::filesystem::create_directory(input_);
    std::filesystem::create_directory(output_);
    std::filesystem::rename(AddPicture("a.png"), input_ / (stem + ".png"));
    Run();
    EXPECT_TRUE(std::filesystem::exists(output_ / (stem + ".ply")));
    ASSERT_EQ(ReportedFiles().size(), 1U);
    EXPECT_EQ(ToUtf8(ReportedFiles().front().second), stem + ".png");
    AnswerConflictWith(BatchConflictPolicy::RenameAll);
    Run();
    EXPECT_TRUE(std::filesystem::exists(output_ / (stem + "(1).ply")));
}

TEST_F(BatchConverterTest, RelativeFoldersAndClosingSeparatorsWork) {
    AddPicture("a.png");
    const std::filesystem::path relative = std::filesystem::relative(folder_.Path());
    converter_.Run(model_, FromPath(relative / "in/"), FromPath(relative / "out/"), 0);
    EXPECT_EQ(Outputs(), Names{"a.ply"});
}

}  // namespace
}  // namespace vistrel
