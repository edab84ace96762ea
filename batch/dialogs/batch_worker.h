// SPDX-License-Identifier: GPL-3.0-or-later
// The thread that a batch runs on. It owns or shares all that it touches, so that dialog and window
// may go before it ends.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "batch/batch_converter.h"

namespace vistrel {

class Mailbox;

struct BatchWorkerJob {
    std::shared_ptr<BatchConverter> converter;
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
