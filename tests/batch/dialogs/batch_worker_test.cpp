#include "batch/dialogs/batch_worker.h"

#include <gtest/gtest.h>

#include <QTest>
#include <future>
#include <new>
#include <utility>

namespace vistrel {
namespace {

TEST(BatchWorkerTest, BatchThatRunsOutOfMemoryIsReportedAsEnded) {
    const ConversionEngine engine;
    const auto batch = std::make_shared<SharedBatch>(engine);
    std::promise<BatchProgressInfo> reported;
    batch->converter.onProgress = [&reported,
                                   isFirst = true](const BatchProgressInfo& info) mutable {
        if (std::exchange(isFirst, false)) throw std::bad_alloc();
        reported.set_value(info);
    };
    BatchWorkerJob job;
    job.batch = batch;
    job.inputDir = L"/none";
    StartBatchWorker(std::move(job));
    EXPECT_EQ(reported.get_future().get().errorMessage, L"The batch could not go on.");
    EXPECT_TRUE(QTest::qWaitFor([] { return !IsBatchWorkerRunning(); }, 60'000));
}

}  // namespace
}  // namespace vistrel
