// SPDX-License-Identifier: GPL-3.0-or-later
// What the user decides: the question about outputs in the way, and cancellation.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "tests/batch/batch_fixture.h"

namespace vistrel {
namespace {

using Names = std::vector<std::string>;

class BatchChoice : public test::BatchFixture {};

TEST_F(BatchChoice, NoOutputInTheWayMeansNoQuestion) {
    AddPicture("a.png");
    AddOutput("other.ply");
    AddOutput("a.PLY");
    AnswerConflictWith(BatchConflictPolicy::CancelBatch);
    Run();
    EXPECT_TRUE(questions_.empty());
    EXPECT_EQ(Outputs(), (Names{"a.PLY (former)", "a.ply", "other.ply (former)"}));
}

TEST_F(BatchChoice, SeveralOutputsInTheWayMeanOneQuestionBeforeTheFirstFile) {
    for (const int name : {1, 2, 3}) {
        AddPicture(Numbered(name, ".png"));
        AddOutput(Numbered(name, ".ply"));
    }
    converter_.onConflict = [this](const std::wstring& text) {
        EXPECT_TRUE(reports_.empty());
        EXPECT_EQ(Outputs(), (Names{"a1.ply (former)", "a2.ply (former)", "a3.ply (former)"}));
        questions_.push_back(text);
        return BatchConflictPolicy::OverwriteAll;
    };
    Run();
    EXPECT_EQ(questions_, std::vector<std::wstring>{L""});
    EXPECT_EQ(Outputs(), (Names{"a1.ply", "a2.ply", "a3.ply"}));
}

TEST_F(BatchChoice, ConflictOfTheLastFileIsFoundToo) {
    for (int i = 0; i < 5; ++i) AddPicture(Numbered(i, ".png"));
    for (int i = 0; i < 5; ++i) {
        const std::string output = Numbered(i, ".ply");
        questions_.clear();
        AnswerConflictWith(BatchConflictPolicy::CancelBatch);
        AddOutput(output);
        Run();
        EXPECT_EQ(questions_.size(), 1U) << output;
        std::filesystem::remove(output_ / output);
    }
}

TEST_F(BatchChoice, WithoutSomebodyToAskOutputsAreReplaced) {
    AddPicture("a.png");
    AddOutput("a.ply");
    Run();
    EXPECT_EQ(Outputs(), Names{"a.ply"});
}

TEST_F(BatchChoice, RenamingKeepsWhatIsThere) {
    AddPicture("photo.jpg");
    AddPicture("free.jpg");
    AddOutput("photo.ply");
    AnswerConflictWith(BatchConflictPolicy::RenameAll);
    Run();
    EXPECT_EQ(Outputs(), (Names{"free.ply", "photo(1).ply", "photo.ply (former)"}));
    Run();
    EXPECT_EQ(Outputs(), (Names{"free(1).ply", "free.ply", "photo(1).ply", "photo(2).ply",
                                "photo.ply (former)"}));
}

TEST_F(BatchChoice, PicturesOfOneStemReplaceEachOtherWithoutAQuestion) {
    AddPicture("photo.jpg");
    AddPicture("photo.png");
    AnswerConflictWith(BatchConflictPolicy::CancelBatch);
    Run();
    EXPECT_TRUE(questions_.empty());
    EXPECT_EQ(results_.size(), 2U);
    EXPECT_EQ(Outputs(), Names{"photo.ply"});
}

TEST_F(BatchChoice, PicturesOfOneStemAreKeptApartWhileRenaming) {
    AddPicture("photo.jpg");
    AddPicture("photo.png");
    AddPicture("other.png");
    AddOutput("other.ply");
    AnswerConflictWith(BatchConflictPolicy::RenameAll);
    Run();
    EXPECT_EQ(Outputs(),
              (Names{"other(1).ply", "other.ply (former)", "photo(1).ply", "photo.ply"}));
}

TEST_F(BatchChoice, AnswerThatCancelsConvertsNothing) {
    AddPicture("a.png");
    AddPicture("b.png");
    AddOutput("b.ply");
    AnswerConflictWith(BatchConflictPolicy::CancelBatch);
    Run();
    ASSERT_EQ(reports_.size(), 1U);
    EXPECT_TRUE(LastReport().cancelled);
    EXPECT_FALSE(LastReport().completed);
    EXPECT_TRUE(NamesNoFile(LastReport()));
    EXPECT_TRUE(results_.empty());
    EXPECT_EQ(Outputs(), Names{"b.ply (former)"});
}

TEST_F(BatchChoice, CancellationBeforeTheRunIsLost) {
    AddPicture("a.png");
    converter_.cancelRequested = true;
    Run();
    EXPECT_TRUE(LastReport().completed);
    EXPECT_FALSE(converter_.cancelRequested);
    EXPECT_EQ(Outputs(), Names{"a.ply"});
}

TEST_F(BatchChoice, CancellationDuringTheQuestionConvertsNothing) {
    AddPicture("a.png");
    AddOutput("a.ply");
    converter_.onConflict = [this](const std::wstring&) {
        converter_.cancelRequested = true;
        return BatchConflictPolicy::OverwriteAll;
    };
    Run();
    ASSERT_EQ(reports_.size(), 1U);
    EXPECT_TRUE(LastReport().cancelled);
    EXPECT_EQ(Outputs(), Names{"a.ply (former)"});
}

TEST_F(BatchChoice, CancellationLetsTheFileInProgressGetReady) {
    for (int i = 0; i < 3; ++i) AddPicture(Numbered(i, ".png"));
    converter_.onProgress = [this](const BatchProgressInfo& info) {
        reports_.push_back(info);
        if (info.current == 2) {
            std::thread([this] { converter_.cancelRequested.exchange(true); }).join();
        }
    };
    Run();
    EXPECT_EQ(ReportedFiles().size(), 2U);
    EXPECT_EQ(reports_.size(), 9U);  // the second file's stages all came
    EXPECT_EQ(Outputs().size(), 2U);
    EXPECT_TRUE(LastReport().cancelled);
    EXPECT_FALSE(LastReport().completed);
    EXPECT_TRUE(NamesNoFile(LastReport()));
}

TEST_F(BatchChoice, CancellationDuringTheLastFileStillCounts) {
    AddPicture("a.png");
    AddPicture("b.png");
    AfterEachFile([this](std::size_t done) { converter_.cancelRequested = done == 2; });
    Run();
    EXPECT_TRUE(LastReport().cancelled);
    EXPECT_EQ(Outputs(), (Names{"a.ply", "b.ply"}));
}

}  // namespace
}  // namespace vistrel
