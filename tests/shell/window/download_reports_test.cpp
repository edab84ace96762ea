// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/download_reports.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <thread>

#include "tests/shell/window/message_receiver.h"

namespace vistrel {
namespace {

using test::MessageReceiver;
using Received = MessageReceiver::Received;

class DownloadReportsTest : public testing::Test {
  protected:
    MessageReceiver receiver_;
    DownloadReports reports_{receiver_.mailbox};
};

TEST_F(DownloadReportsTest, OneMessageWaitsHoweverManyChunksCome) {
    std::thread([this] {
        for (int i = 1; i <= 20000; ++i) reports_.Report(i / 20000.0, std::to_wstring(i));
    }).join();

    QCoreApplication::processEvents();

    EXPECT_EQ(receiver_.received.size(), 1U);
    const auto latest = reports_.TakeLatest();
    ASSERT_TRUE(latest);
    EXPECT_EQ(latest->position, 1000U);
    EXPECT_EQ(latest->text, L"20000");
}

TEST_F(DownloadReportsTest, NextReportAfterTheLatestWasTakenIsPosted) {
    reports_.Report(0.1, L"one");
    QCoreApplication::processEvents();
    (void)reports_.TakeLatest();
    reports_.Report(0.2, L"two");
    QCoreApplication::processEvents();
    EXPECT_EQ(receiver_.received, (std::vector<Received>{{kDownloadProgressMessage, 100, L"one"},
                                                         {kDownloadProgressMessage, 200, L"two"}}));
}

TEST_F(DownloadReportsTest, LatestIsTakenOnce) {
    reports_.Report(0.1, L"one");
    EXPECT_TRUE(reports_.TakeLatest());
    EXPECT_FALSE(reports_.TakeLatest());
}

TEST_F(DownloadReportsTest, PositionIsTruncated) {
    reports_.Report(0.9999, L"");
    EXPECT_EQ(reports_.TakeLatest()->position, 999U);
}

TEST_F(DownloadReportsTest, MoreThanWasAnnouncedStaysWithinSixteenBits) {
    reports_.Report(1e9, L"");
    EXPECT_EQ(reports_.TakeLatest()->position, 0xFFFFU);
}

TEST_F(DownloadReportsTest, EndComesAfterTheProgress) {
    reports_.Report(1.0, L"all");
    reports_.Finished(true, L"/model.onnx");
    QCoreApplication::processEvents();
    EXPECT_EQ(receiver_.received,
              (std::vector<Received>{{kDownloadProgressMessage, 1000, L"all"},
                                     {kDownloadDoneMessage, 0, L"/model.onnx"}}));
}

TEST_F(DownloadReportsTest, FailureHasTheValueOne) {
    reports_.Finished(false, L"no");
    QCoreApplication::processEvents();
    EXPECT_EQ(receiver_.received, (std::vector<Received>{{kDownloadDoneMessage, 1, L"no"}}));
}

}  // namespace
}  // namespace vistrel
