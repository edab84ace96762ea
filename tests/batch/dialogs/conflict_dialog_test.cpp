// SPDX-License-Identifier: GPL-3.0-or-later
#include "batch/dialogs/conflict_dialog.h"

#include <gtest/gtest.h>

#include <QFontMetrics>
#include <functional>
#include <string>
#include <vector>

#include "tests/batch/dialogs/dialog_fixture.h"

namespace vistrel {
namespace {

using Id = BatchControlId;

class ConflictDialogTest : public test::DialogFixture {
  protected:
    ConflictDialogTest() {
        AddPictures(2);
        folder_.Write("out/a0.ply", kFormerScene);
        folder_.Write("out/a1.ply", kFormerScene);
    }

    // Runs the batch with an answer by `act`.
    void RunAnswering(const std::function<void(ConflictDialog&)>& act) {
        WhenAsked([this, act](ConflictDialog& question) {
            ++questions_;
            act(question);
        });
        Start();
        LetTheBatchEnd();
        EXPECT_EQ(questions_, 1);
    }
    void RunPressing(Id button) {
        RunAnswering(
            [button](ConflictDialog& question) { Find<QPushButton>(question, button)->click(); });
    }
    void ExpectCancelled() {
        EXPECT_EQ(Status(), L"Batch conversion cancelled.");
        EXPECT_EQ(OutputCount(), 2U);
        EXPECT_TRUE(IsFormer("out/a0.ply"));
        EXPECT_TRUE(IsFormer("out/a1.ply"));
    }
    bool IsFormer(const char* name) { return test::ReadFile(folder_ / name) == kFormerScene; }

    static constexpr const char* kFormerScene = "former scene";
    int questions_ = 0;
};

TEST_F(ConflictDialogTest, OverwriteAllReplacesTheOutputs) {
    RunPressing(Id::ConflictOverwrite);
    EXPECT_EQ(Status(), L"Batch conversion complete!");
    EXPECT_EQ(OutputCount(), 2U);
    EXPECT_FALSE(IsFormer("out/a0.ply"));
    EXPECT_FALSE(IsFormer("out/a1.ply"));
}

TEST_F(ConflictDialogTest, RenameAllKeepsBoth) {
    RunPressing(Id::ConflictRename);
    EXPECT_EQ(Status(), L"Batch conversion complete!");
    EXPECT_EQ(OutputCount(), 4U);
    EXPECT_TRUE(IsFormer("out/a0.ply"));
    EXPECT_FALSE(IsFormer("out/a0(1).ply"));
}

TEST_F(ConflictDialogTest, CancelBatchConvertsNothing) {
    RunPressing(Id::ConflictCancel);
    ExpectCancelled();
}

TEST_F(ConflictDialogTest, EscConvertsNothing) {
    RunAnswering([](ConflictDialog& question) { QTest::keyClick(&question, Qt::Key_Escape); });
    ExpectCancelled();
}

TEST_F(ConflictDialogTest, CloseBoxConvertsNothing) {
    RunAnswering([](ConflictDialog& question) { question.close(); });
    ExpectCancelled();
}

TEST_F(ConflictDialogTest, BatchDialogOwnsTheQuestionAndWaits) {
    RunAnswering([this](ConflictDialog& question) {
        EXPECT_EQ(question.parentWidget(), dialog_.get());
        EXPECT_TRUE(question.isModal());
        EXPECT_EQ(Status(), L"Ready");
        EXPECT_FALSE(Button(Id::Start)->isEnabled());
        question.close();
    });
}

TEST_F(ConflictDialogTest, BatchThatWasCancelledBeforeTheAnswerConvertsNothing) {
    RunAnswering([this](ConflictDialog& question) {
        dialog_->reject();
        Find<QPushButton>(question, Id::ConflictOverwrite)->click();
    });
    ExpectCancelled();
}

TEST_F(ConflictDialogTest, ResultIsTheNumberOfTheButton) {
    for (const Id id : {Id::ConflictOverwrite, Id::ConflictRename, Id::ConflictCancel}) {
        ConflictDialog question(dialog_.get());
        Find<QPushButton>(question, id)->click();
        EXPECT_EQ(question.result(), static_cast<int>(id));
    }
    ConflictDialog question(dialog_.get());
    QTest::keyClick(&question, Qt::Key_Escape);
    EXPECT_EQ(question.result(), 2);
}

TEST_F(ConflictDialogTest, EnglishTexts) {
    const ConflictDialog question(dialog_.get());
    EXPECT_EQ(question.windowTitle(), "Conflict Resolution");
    EXPECT_EQ(Find<QLabel>(question, Id::ConflictMessage)->text(),
              "Output files already exist in the destination folder.\n"
              "How would you like to handle conflicts?");
    EXPECT_EQ(Find<QPushButton>(question, Id::ConflictOverwrite)->text(), "Overwrite All");
    EXPECT_EQ(Find<QPushButton>(question, Id::ConflictRename)->text(), "Rename All (Keep Both)");
    EXPECT_EQ(Find<QPushButton>(question, Id::ConflictCancel)->text(), "Cancel Batch");
}

TEST_F(ConflictDialogTest, JapaneseTexts) {
    gUiText = &kJapaneseText;
    const ConflictDialog question(dialog_.get());
    EXPECT_EQ(question.windowTitle(), QString::fromWCharArray(L"競合の解決"));
    EXPECT_EQ(Find<QLabel>(question, Id::ConflictMessage)->text(),
              QString::fromWCharArray(L"出力フォルダ内に同名のファイルが既に存在します。\n"
                                      L"どのように処理しますか？"));
    EXPECT_EQ(Find<QPushButton>(question, Id::ConflictOverwrite)->text(),
              QString::fromWCharArray(L"全て上書き"));
    EXPECT_EQ(Find<QPushButton>(question, Id::ConflictRename)->text(),
              QString::fromWCharArray(L"全て名前を変えて保存"));
    EXPECT_EQ(Find<QPushButton>(question, Id::ConflictCancel)->text(),
              QString::fromWCharArray(L"一括処理を中止"));
}

TEST_F(ConflictDialogTest, ControlsLieWhereTheFormSays) {
    const ConflictDialog question(dialog_.get());
    EXPECT_EQ(question.size(), QSize(438, 188));
    EXPECT_EQ(Find<QLabel>(question, Id::ConflictMessage)->geometry(), QRect(26, 28, 385, 56));
    EXPECT_EQ(Find<QPushButton>(question, Id::ConflictRename)->geometry(),
              QRect(158, 122, 123, 26));
}

TEST_F(ConflictDialogTest, TextsFitInBothLanguages) {
    for (const UiText* language : {&kEnglishText, &kJapaneseText}) {
        gUiText = language;
        const ConflictDialog question(dialog_.get());
        for (const auto* button : question.findChildren<QPushButton*>()) {
            const int width = QFontMetrics(button->font()).horizontalAdvance(button->text());
            EXPECT_LE(width, button->width() - 6) << button->text().toStdString();
            EXPECT_GE(button->font().pixelSize(), 9) << button->text().toStdString();
        }
        const auto* message = Find<QLabel>(question, Id::ConflictMessage);
        EXPECT_LE(message->heightForWidth(message->width()), message->height());
    }
}

}  // namespace
}  // namespace vistrel
