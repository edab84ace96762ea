// SPDX-License-Identifier: GPL-3.0-or-later
#include "batch/dialogs/batch_worker.h"

#include <gtest/gtest.h>

#include <QTest>
#include <future>
#include <memory>
#include <new>
#include <utility>

namespace vistrel {
namespace {

TEST(BatchWorkerTest, BatchThatRunsOutOfMemoryIsReportedAsEnded) {
    const auto batch = std::make_shared<BatchConverter>(std::make_shared<ConversionEngine>());
    std::promise<BatchProgressInfo> reported;
    batch->onProgress = [&reported, isFirst = true](const BatchProgressInfo& info) mutable {
        if (std::exchange(isFirst, false)) throw std::bad_alloc();
        reported.set_value(info);
    };
    BatchWorkerJob job;
    job.converter = batch;
    job.inputDir = L"/none";
    StartBatchWorker(std::move(job));
    EXPECT_EQ(reported.get_future().get().errorMessage, L"The batch could not go on.");
    EXPECT_TRUE(QTest::qWaitFor([] { return !IsBatchWorkerRunning(); }, 60'000));
}

}  // namespace
}  // namespace vistrel
