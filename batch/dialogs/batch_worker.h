// The thread that a batch runs on. It owns or shares all that it touches, so that dialog, window
// and engine may go before it ends.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "batch/batch_converter.h"

namespace vistrel {

class Mailbox;

// A converter with an engine of its own that shares the state of the window's.
struct SharedBatch {
    explicit SharedBatch(const ConversionEngine& windowEngine)
        : engine(windowEngine.Share()), converter(engine.get()) {}

    const std::unique_ptr<ConversionEngine> engine;
    BatchConverter converter;
};

struct BatchWorkerJob {
    std::shared_ptr<SharedBatch> batch;
    std::wstring modelPath;
    std::wstring inputDir;
    std::wstring outputDir;
    std::int32_t executionProvider = 0;
};

// Makes the converter's reports and its question events (batch_messages.h) for the owner of
// `mailbox`. The question waits for its answer on the converter's thread; it counts as cancelled
// when there is nobody left to answer.
void ReportTo(BatchConverter& converter, const std::shared_ptr<Mailbox>& mailbox);

// Runs the job on a detached thread. Throws std::system_error when there is no thread to be had.
void StartBatchWorker(BatchWorkerJob job);

// Whether such a thread is still there. Any thread.
[[nodiscard]] bool IsBatchWorkerRunning();

}  // namespace vistrel
