#include "shell/window/conversion_reports.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <functional>
#include <thread>

#include "tests/shell/window/message_receiver.h"

namespace vistrel {
namespace {

using test::MessageReceiver;
using Received = MessageReceiver::Received;

void OnOtherThread(const std::function<void()>& work) {
    std::thread(work).join();
}

class ConversionReportsTest : public testing::Test {
  protected:
    std::vector<Received> Arrived() {
        QCoreApplication::processEvents();
        return receiver_.received;
    }

    MessageReceiver receiver_;
    ConversionReports reports_{receiver_.mailbox};
};

TEST_F(ConversionReportsTest, StagesAndEndArriveInOrder) {
    OnOtherThread([this] {
        reports_.Progress(L"one");
        reports_.Progress(L"two");
        reports_.Finished(true, L"/a.ply");
    });
    EXPECT_EQ(Arrived(), (std::vector<Received>{{kGenerateProgressMessage, 0, L"one"},
                                                {kGenerateProgressMessage, 0, L"two"},
                                                {kGenerateDoneMessage, 0, L"/a.ply"}}));
}

TEST_F(ConversionReportsTest, FailureHasTheValueOne) {
    OnOtherThread([this] {
        reports_.Progress(L"one");
        reports_.Finished(false, L"no");
    });
    EXPECT_EQ(Arrived().back(), (Received{kGenerateDoneMessage, 1, L"no"}));
}

TEST_F(ConversionReportsTest, EndOfAnotherConversionMeanwhileIsDropped) {
    OnOtherThread([this] {
        reports_.Progress(L"one");
        OnOtherThread([this] {
            reports_.Progress(L"of a batch");
            reports_.Finished(true, L"/batch.ply");
        });
        reports_.Finished(true, L"/a.ply");
    });
    EXPECT_EQ(Arrived(), (std::vector<Received>{{kGenerateProgressMessage, 0, L"one"},
                                                {kGenerateDoneMessage, 0, L"/a.ply"}}));
}

TEST_F(ConversionReportsTest, EndBeforeTheFirstStageIsDropped) {
    OnOtherThread([this] { reports_.Finished(true, L"/batch.ply"); });
    EXPECT_TRUE(Arrived().empty());
}

// Also by a thread that got the same number.
TEST_F(ConversionReportsTest, ReportsAfterTheEndAreDropped) {
    OnOtherThread([this] {
        reports_.Progress(L"one");
        reports_.Finished(true, L"/a.ply");
        reports_.Progress(L"late");
        reports_.Finished(true, L"/batch.ply");
    });
    EXPECT_EQ(Arrived().size(), 2U);
}

}  // namespace
}  // namespace vistrel
