// SPDX-License-Identifier: GPL-3.0-or-later
// The dialog before, between and after batches.
#include "batch/dialogs/batch_dialog.h"

#include <gtest/gtest.h>

#include <QFontMetrics>
#include <optional>
#include <string>
#include <vector>

#include "tests/batch/dialogs/dialog_fixture.h"

namespace vistrel {
namespace {

using Id = BatchControlId;

class BatchDialogTest : public test::DialogFixture {
  protected:
    void ExpectIdle() const {
        EXPECT_TRUE(Button(Id::Start)->isEnabled());
        EXPECT_TRUE(Button(Id::InputBrowse)->isEnabled());
        EXPECT_TRUE(Button(Id::OutputBrowse)->isEnabled());
    }
};

TEST_F(BatchDialogTest, OpensWithTheEnglishTexts) {
    EXPECT_EQ(dialog_->windowTitle(), "Batch Conversion");
    EXPECT_EQ(Button(Id::InputBrowse)->text(), QString::fromWCharArray(L"Browse\u2026"));
    EXPECT_EQ(Button(Id::OutputBrowse)->text(), QString::fromWCharArray(L"Browse\u2026"));
    EXPECT_EQ(Button(Id::Start)->text(), "Start Conversion");
    EXPECT_EQ(Button(Id::Cancel)->text(), "Cancel");
    EXPECT_EQ(Status(), L"Ready");
    EXPECT_EQ(Elapsed(), L"Elapsed: 0 sec");
}

TEST_F(BatchDialogTest, OpensWithTheJapaneseTextsButTwoLabelsStayEnglish) {
    gUiText = &kJapaneseText;
    MakeDialog();
    EXPECT_EQ(dialog_->windowTitle(), QString::fromWCharArray(L"一括変換"));
    EXPECT_EQ(Button(Id::InputBrowse)->text(), QString::fromWCharArray(L"参照\u2026"));
    EXPECT_EQ(Button(Id::OutputBrowse)->text(), QString::fromWCharArray(L"参照\u2026"));
    EXPECT_EQ(Button(Id::Start)->text(), QString::fromWCharArray(L"変換スタート"));
    EXPECT_EQ(Button(Id::Cancel)->text(), QString::fromWCharArray(L"中止"));
    EXPECT_EQ(Status(), L"待機中");
    EXPECT_EQ(Elapsed(), L"Elapsed: 0 sec");
    QStringList labels;
    for (const auto* label : dialog_->findChildren<QLabel*>()) labels << label->text();
    EXPECT_TRUE(labels.contains(QString::fromWCharArray(L"入力フォルダ:")));
    EXPECT_TRUE(labels.contains("Output Folder:"));
}

TEST_F(BatchDialogTest, ScreenReadersTellTheTwoFoldersApart) {
    gUiText = &kJapaneseText;
    MakeDialog();
    EXPECT_EQ(Edit(Id::Input)->accessibleName(), QString::fromWCharArray(L"入力フォルダ:"));
    EXPECT_EQ(Edit(Id::Output)->accessibleName(), "Output Folder:");
    EXPECT_EQ(Button(Id::InputBrowse)->accessibleName(),
              QString::fromWCharArray(L"参照\u2026 入力フォルダ:"));
    EXPECT_EQ(Button(Id::OutputBrowse)->accessibleName(),
              QString::fromWCharArray(L"参照\u2026 Output Folder:"));
    EXPECT_EQ(Find<QProgressBar>(*dialog_, Id::Progress)->accessibleName(),
              QString::fromWCharArray(L"一括変換"));
}

TEST_F(BatchDialogTest, OpensWithoutInputFolderAndWithTheSavedOutputFolder) {
    EXPECT_TRUE(Edit(Id::Input)->text().isEmpty());
    EXPECT_EQ(Edit(Id::Output)->text().toStdWString(), settings_.outputDir);
    Edit(Id::Input)->setText("typed");
    MakeDialog();
    EXPECT_TRUE(Edit(Id::Input)->text().isEmpty());
}

TEST_F(BatchDialogTest, FoldersCannotBeTyped) {
    for (const Id id : {Id::Input, Id::Output}) {
        const QString before = Edit(id)->text();
        QTest::keyClicks(Edit(id), "x");
        EXPECT_EQ(Edit(id)->text(), before);
    }
}

TEST_F(BatchDialogTest, ControlsLieWhereTheFormSaysAndTheSizeIsFixed) {
    EXPECT_EQ(dialog_->size(), QSize(560, 338));
    EXPECT_EQ(dialog_->minimumSize(), dialog_->maximumSize());
    EXPECT_EQ(Edit(Id::Input)->geometry(), QRect(131, 19, 324, 26));
    EXPECT_EQ(Button(Id::OutputBrowse)->geometry(), QRect(464, 56, 79, 26));
    EXPECT_EQ(Button(Id::Start)->geometry(), QRect(333, 291, 105, 26));
    EXPECT_EQ(Button(Id::Cancel)->geometry(), Button(Id::Close)->geometry());
    EXPECT_FALSE(Button(Id::Cancel)->isHidden());
    EXPECT_TRUE(Button(Id::Close)->isHidden());
    EXPECT_TRUE(Button(Id::Start)->isDefault());
    EXPECT_EQ(Bar(), 0);
}

TEST_F(BatchDialogTest, BrowsingFillsTheEdits) {
    std::vector<std::wstring> titles;
    dialog_->askFolder = [&titles](const std::wstring& title) {
        titles.push_back(title);
        return titles.size() == 1 ? L"/pictures" : L"/scenes";
    };
    Button(Id::InputBrowse)->click();
    Button(Id::OutputBrowse)->click();
    EXPECT_EQ(Edit(Id::Input)->text(), "/pictures");
    EXPECT_EQ(Edit(Id::Output)->text(), "/scenes");
    EXPECT_EQ(titles, (std::vector<std::wstring>{L"Browse\u2026", L"Browse\u2026"}));
}

TEST_F(BatchDialogTest, CancelledBrowsingChangesNothing) {
    dialog_->askFolder = [](const std::wstring&) { return std::nullopt; };
    Button(Id::InputBrowse)->click();
    Button(Id::OutputBrowse)->click();
    EXPECT_TRUE(Edit(Id::Input)->text().isEmpty());
    EXPECT_EQ(Edit(Id::Output)->text().toStdWString(), settings_.outputDir);
}

TEST_F(BatchDialogTest, StartWithoutAFolderDoesNothing) {
    for (const Id empty : {Id::Input, Id::Output}) {
        Edit(Id::Input)->setText("in");
        Edit(Id::Output)->setText("out");
        Edit(empty)->clear();
        Button(Id::Start)->click();
        EXPECT_FALSE(BatchDialog::AnyRunning());
        EXPECT_EQ(Status(), L"Ready");
        EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
        ExpectIdle();
    }
}

TEST_F(BatchDialogTest, CancelEscAndTheCloseBoxEndAnIdleDialog) {
    const std::vector<std::function<void()>> ways = {
        [this] { Button(Id::Cancel)->click(); },
        [this] { QTest::keyClick(dialog_.get(), Qt::Key_Escape); }, [this] { dialog_->close(); }};
    for (const auto& way : ways) {
        MakeDialog();
        way();
        EXPECT_FALSE(dialog_->isVisible());
        EXPECT_EQ(dialog_->result(), 2);
    }
}

TEST_F(BatchDialogTest, BatchConvertsTheFolder) {
    AddPictures(2);
    Start();
    LetTheBatchEnd();
    EXPECT_EQ(Status(), L"Batch conversion complete!");
    EXPECT_EQ(Bar(), 100);
    EXPECT_EQ(OutputCount(), 2U);
}

TEST_F(BatchDialogTest, AfterABatchTheButtonsAreBackAndCloseTakesThePlaceOfCancel) {
    AddPictures(1);
    Start();
    LetTheBatchEnd();
    ExpectIdle();
    EXPECT_TRUE(Button(Id::Cancel)->isHidden());
    EXPECT_FALSE(Button(Id::Close)->isHidden());
    EXPECT_EQ(Button(Id::Close)->text(), "Close Dialog");
    EXPECT_TRUE(dialog_->isVisible());
    Button(Id::Close)->click();
    EXPECT_FALSE(dialog_->isVisible());
    EXPECT_EQ(dialog_->result(), 1);
}

TEST_F(BatchDialogTest, EmptyFolderIsCompleteAtOnceWithAFullBar) {
    Start();
    LetTheBatchEnd();
    EXPECT_EQ(Status(), L"Batch conversion complete!");
    EXPECT_EQ(Bar(), 100);
}

TEST_F(BatchDialogTest, FolderThatCannotBeReadEndsTheBatchWithoutAWord) {
    std::filesystem::remove(folder_ / "in");
    Start();
    LetTheBatchEnd();
    ExpectIdle();
    EXPECT_EQ(Status(), L"Ready");
    EXPECT_EQ(Bar(), 0);
}

TEST_F(BatchDialogTest, AnotherBatchMayFollow) {
    StartAndHold(1);
    LetTheBatchEnd();
    std::filesystem::remove(folder_ / "out/a0.ply");
    gate_->Hold();
    Start();
    gate_->WaitForSomebody();
    QCoreApplication::processEvents();
    EXPECT_TRUE(Button(Id::Close)->isHidden());
    EXPECT_FALSE(Button(Id::Cancel)->isHidden());
    EXPECT_EQ(Status(), L"Processing 1 / 1: a0.png");
    LetTheBatchEnd();
    EXPECT_EQ(OutputCount(), 1U);
}

TEST_F(BatchDialogTest, MissingOutputFolderIsMade) {
    settings_.outputDir = FromPath(folder_ / "documents/Vistrel");
    MakeDialog();
    AddPictures(1);
    Start();
    LetTheBatchEnd();
    EXPECT_TRUE(std::filesystem::exists(folder_ / "documents/Vistrel/a0.ply"));
}

TEST_F(BatchDialogTest, OutputFolderThatCannotBeMadeIsNotChecked) {
    folder_.Write("documents", "a file");
    settings_.outputDir = FromPath(folder_ / "documents/Vistrel");
    MakeDialog();
    AddPictures(1);
    Start();
    LetTheBatchEnd();
    EXPECT_EQ(Status(), L"Batch conversion complete!");
    EXPECT_EQ(test::ReadFile(folder_ / "documents"), "a file");
}

TEST_F(BatchDialogTest, FolderNameThatIsNoTextIsKept) {
    const std::string name = "out \xFF";
    std::filesystem::create_directory(folder_ / name);
    settings_.outputDir = FromPath(folder_ / name);
    MakeDialog();
    AddPictures(1);
    Start();
    LetTheBatchEnd();
    EXPECT_TRUE(std::filesystem::exists(folder_ / name / "a0.ply"));
}

TEST_F(BatchDialogTest, FailedFilesDoNotEndTheBatch) {
    AddPictures(1);
    folder_.Write("in/broken.png", "no picture");
    Start();
    LetTheBatchEnd();
    EXPECT_EQ(Status(), L"Batch conversion complete!");
    EXPECT_EQ(OutputCount(), 1U);
}

TEST_F(BatchDialogTest, SettingsAreThoseOfTheStart) {
    AddPictures(1);
    settings_.modelPath = L"no such model";
    Start();
    LetTheBatchEnd();
    EXPECT_EQ(OutputCount(), 0U);
    settings_.modelPath = FromPath(test::ModelFile("echo"));
    Start();
    LetTheBatchEnd();
    EXPECT_EQ(OutputCount(), 1U);
}

TEST_F(BatchDialogTest, ButtonTextsFitInBothLanguages) {
    for (const UiText* language : {&kEnglishText, &kJapaneseText}) {
        gUiText = language;
        MakeDialog();
        Start();
        LetTheBatchEnd();
        for (const auto* button : dialog_->findChildren<QPushButton*>()) {
            const int width = QFontMetrics(button->font()).horizontalAdvance(button->text());
            EXPECT_LE(width, button->width() - 6) << button->text().toStdString();
            EXPECT_GE(button->font().pixelSize(), 9) << button->text().toStdString();
        }
    }
}

}  // namespace
}  // namespace vistrel
