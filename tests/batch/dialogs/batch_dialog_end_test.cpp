// SPDX-License-Identifier: GPL-3.0-or-later
// The program ends while a batch runs.
#include <gtest/gtest.h>

#include "tests/batch/dialogs/dialog_fixture.h"
#include "tests/support/wait_until.h"

namespace vistrel {
namespace {

class BatchDialogEnd : public test::DialogFixture {};

TEST_F(BatchDialogEnd, DialogThatGoesAsksTheBatchToStop) {
    StartAndHold(3);
    engine_->cancelRequested = false;
    dialog_.reset();
    EXPECT_TRUE(engine_->cancelRequested);
    EXPECT_TRUE(BatchDialog::AnyRunning());
    gate_->Open();
    EXPECT_TRUE(WaitFor([] { return !BatchDialog::AnyRunning(); }));
    EXPECT_EQ(OutputCount(), 1U);
}

TEST_F(BatchDialogEnd, BatchOutlivesTheDialogAndTheEngine) {
    StartAndHold(2);
    dialog_.reset();
    engine_.reset();
    gate_->Open();
    EXPECT_TRUE(WaitFor([] { return !BatchDialog::AnyRunning(); }));
    EXPECT_EQ(OutputCount(), 1U);
}

TEST_F(BatchDialogEnd, EventLoopThatEndsLetsTheDialogGo) {
    AddPictures(2);
    gate_->Hold();
    Start();
    gate_->WaitForSomebody();
    QTimer::singleShot(0, [] { QCoreApplication::exit(0); });
    dialog_->exec();
    EXPECT_TRUE(BatchDialog::AnyRunning());
    test::TakeBackExit();
}

TEST_F(BatchDialogEnd, QuestionThatNobodyCanAnswerAnyMoreCancelsTheBatch) {
    AddPictures(1);
    folder_.Write("out/a0.ply", "former scene");
    Start();
    dialog_.reset();
    EXPECT_TRUE(WaitFor([] { return !BatchDialog::AnyRunning(); }));
    EXPECT_EQ(test::ReadFile(folder_ / "out/a0.ply"), "former scene");
}

TEST_F(BatchDialogEnd, EventLoopThatEndsWhileTheQuestionIsOpenCancelsTheBatch) {
    AddPictures(1);
    folder_.Write("out/a0.ply", "former scene");
    WhenAsked([](ConflictDialog&) { QCoreApplication::exit(0); });
    Start();
    dialog_->exec();
    dialog_.reset();
    test::TakeBackExit();
    EXPECT_TRUE(WaitFor([] { return !BatchDialog::AnyRunning(); }));
    EXPECT_EQ(test::ReadFile(folder_ / "out/a0.ply"), "former scene");
}

}  // namespace
}  // namespace vistrel
