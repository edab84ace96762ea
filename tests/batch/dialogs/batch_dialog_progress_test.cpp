// SPDX-License-Identifier: GPL-3.0-or-later
// The dialog while a batch runs.
#include <gtest/gtest.h>

#include <QFontMetrics>
#include <string>
#include <vector>

#include "tests/batch/dialogs/dialog_fixture.h"

namespace vistrel {
namespace {

using Id = BatchControlId;

class BatchDialogProgress : public test::DialogFixture {
  protected:
    // Lets the present file go on to its end and waits in the next one.
    void NextFile(int number) {
        gate_->LetThrough(1);
        const std::wstring start = L"Processing " + std::to_wstring(number) + L" / ";
        EXPECT_TRUE(WaitFor([&] { return Status().starts_with(start); }));
        gate_->WaitForSomebody();
        QCoreApplication::processEvents();
    }

    void RunOnce(int pictures) {
        StartAndHold(pictures);
        LetTheBatchEnd();
        RemoveOutputs();
    }

    void RemoveOutputs() const {
        for (const auto& output : std::filesystem::directory_iterator(folder_ / "out")) {
            std::filesystem::remove(output);
        }
    }

    // In another dialog; the reports of the first file arrive that late.
    void StartAnewAndLookAfterFiveSeconds() {
        MakeDialog();
        gate_->Hold();
        Start();
        gate_->WaitForSomebody();
        now_ += 5 * kSecond;
        QCoreApplication::processEvents();
    }
};

TEST_F(BatchDialogProgress, ButtonsAreDisabledAndCancelIsShown) {
    StartAndHold(1);
    EXPECT_FALSE(Button(Id::Start)->isEnabled());
    EXPECT_FALSE(Button(Id::InputBrowse)->isEnabled());
    EXPECT_FALSE(Button(Id::OutputBrowse)->isEnabled());
    EXPECT_FALSE(Button(Id::Cancel)->isHidden());
    EXPECT_TRUE(Button(Id::Close)->isHidden());
    EXPECT_TRUE(BatchDialog::AnyRunning());
}

TEST_F(BatchDialogProgress, BarShowsTheShareOfFilesStarted) {
    StartAndHold(4);
    EXPECT_EQ(Bar(), 25);
    for (const int number : {2, 3, 4}) {
        NextFile(number);
        EXPECT_EQ(Bar(), number * 25);
    }
    LetTheBatchEnd();
    EXPECT_EQ(Bar(), 100);
}

TEST_F(BatchDialogProgress, SharesAreRoundedDown) {
    StartAndHold(3);
    EXPECT_EQ(Bar(), 33);
    NextFile(2);
    EXPECT_EQ(Bar(), 66);
}

TEST_F(BatchDialogProgress, StatusNamesTheFile) {
    StartAndHold(1);
    EXPECT_EQ(Status(), L"Processing 1 / 1: a0.png");
}

TEST_F(BatchDialogProgress, StatusAndSecondsAreJapaneseForJapaneseUsers) {
    gUiText = &kJapaneseText;
    MakeDialog();
    StartAndHold(1);
    EXPECT_EQ(Status(), L"処理中 1 / 1: a0.png");
    EXPECT_EQ(Elapsed(), L"経過時間: 0 秒");
    LetTheBatchEnd();
    EXPECT_EQ(Status(), L"一括変換が完了しました！");
    EXPECT_EQ(Button(Id::Close)->text(), QString::fromWCharArray(L"ダイアログを閉じる"));
}

TEST_F(BatchDialogProgress, NameIsShownAsItIs) {
    const std::string name = "<b>%d%s &x.png";
    AddPicture(name);
    StartAndHold(0);
    EXPECT_EQ(Status(), L"Processing 1 / 1: " + FromUtf8(name));
    EXPECT_EQ(Find<QLabel>(*dialog_, Id::Status)->textFormat(), Qt::PlainText);
}

TEST_F(BatchDialogProgress, StatusIsCutAfter256Characters) {
    const std::string name = std::string(251, 'x').append(".png");
    AddPicture(name);
    StartAndHold(0);
    EXPECT_EQ(Status(), (L"Processing 1 / 1: " + FromUtf8(name)).substr(0, 256));
}

TEST_F(BatchDialogProgress, SecondsRestartWithEveryFile) {
    StartAndHold(2);
    EXPECT_EQ(Elapsed(), L"Elapsed: 0 sec");
    now_ += 7 * kSecond + kSecond / 2;
    EXPECT_TRUE(WaitFor([this] { return Elapsed() == L"Elapsed: 7 sec"; }));
    NextFile(2);
    EXPECT_EQ(Elapsed(), L"Elapsed: 0 sec");
}

TEST_F(BatchDialogProgress, SecondsKeepTheirLastValue) {
    settings_.modelPath.clear();  // fails the file as it goes on, before any other report
    StartAndHold(1);
    now_ += 3 * kSecond;
    EXPECT_TRUE(WaitFor([this] { return Elapsed() == L"Elapsed: 3 sec"; }));
    now_ += 3 * kSecond;
    LetTheBatchEnd();
    EXPECT_EQ(Elapsed(), L"Elapsed: 3 sec");
}

// The number of the last file is one for the whole process.
TEST_F(BatchDialogProgress, SecondsCountFromTheStartWhenTheLastBatchEndedWithTheSameNumber) {
    RunOnce(1);
    StartAnewAndLookAfterFiveSeconds();
    EXPECT_EQ(Elapsed(), L"Elapsed: 5 sec");
}

TEST_F(BatchDialogProgress, SecondsCountFromTheFirstReportWhenTheLastBatchEndedWithAnotherNumber) {
    RunOnce(2);
    StartAnewAndLookAfterFiveSeconds();
    EXPECT_EQ(Elapsed(), L"Elapsed: 0 sec");
}

TEST_F(BatchDialogProgress, CancelEscAndTheCloseBoxStopAfterTheFile) {
    const std::vector<std::function<void()>> ways = {
        [this] { Button(Id::Cancel)->click(); },
        [this] { QTest::keyClick(dialog_.get(), Qt::Key_Escape); }, [this] { dialog_->close(); }};
    for (const auto& way : ways) {
        MakeDialog();
        StartAndHold(3);
        engine_->cancelRequested = false;
        way();
        EXPECT_EQ(Status(), L"Cancellation will occur after the current file is finished.");
        EXPECT_TRUE(engine_->cancelRequested);
        EXPECT_TRUE(dialog_->isVisible());
        EXPECT_TRUE(BatchDialog::AnyRunning());
        LetTheBatchEnd();
        EXPECT_EQ(Status(), L"Batch conversion cancelled.");
        EXPECT_EQ(Bar(), 33);
        EXPECT_EQ(OutputCount(), 1U);
        RemoveOutputs();
    }
}

TEST_F(BatchDialogProgress, SecondEnterDoesNotCancel) {
    AddPictures(1);
    gate_->Hold();
    Edit(Id::Input)->setText(QString::fromStdWString(FromPath(folder_ / "in")));
    Button(Id::Start)->setFocus();
    QTest::keyClick(dialog_.get(), Qt::Key_Return);
    gate_->WaitForSomebody();
    QCoreApplication::processEvents();
    QTest::keyClick(dialog_->focusWidget(), Qt::Key_Return);
    EXPECT_EQ(Status(), L"Processing 1 / 1: a0.png");
    LetTheBatchEnd();
    EXPECT_EQ(Status(), L"Batch conversion complete!");
}

TEST_F(BatchDialogProgress, SecondStartIsIgnored) {
    StartAndHold(1);
    Edit(Id::Output)->clear();
    dialog_->OnStart();
    EXPECT_EQ(Status(), L"Processing 1 / 1: a0.png");
    LetTheBatchEnd();
    EXPECT_EQ(OutputCount(), 1U);
}

TEST_F(BatchDialogProgress, FoldersChangedMeanwhileDoNotMatter) {
    StartAndHold(2);
    Edit(Id::Input)->setText("/nowhere");
    Edit(Id::Output)->setText("/nowhere");
    settings_.modelPath.clear();
    LetTheBatchEnd();
    EXPECT_EQ(OutputCount(), 2U);
}

}  // namespace
}  // namespace vistrel
