// SPDX-License-Identifier: GPL-3.0-or-later
#include "batch/dialogs/batch_worker.h"

#include <atomic>
#include <exception>
#include <future>
#include <thread>
#include <utility>

#include "batch/dialogs/batch_messages.h"
#include "ui/mailbox.h"

namespace vistrel {
namespace {

std::atomic<int> gWorkers = 0;

bool EndsTheBatch(const BatchProgressInfo& info) {
    return info.completed || info.cancelled || !info.errorMessage.empty();
}

void Work(BatchWorkerJob job) {
    BatchConverter& converter = *job.converter;
    try {
        converter.Run(job.modelPath, job.inputDir, job.outputDir, job.executionProvider);
    } catch (const std::exception&) {
        // Out of memory, say. The dialog is not to wait for ever.
        converter.onProgress({.errorMessage = L"The batch could not go on."});
    }
}

}  // namespace

void ReportTo(BatchConverter& converter, const std::shared_ptr<Mailbox>& mailbox) {
    converter.onProgress = [mailbox](const BatchProgressInfo& info) {
        const int number = EndsTheBatch(info) ? kBatchFinishedMessage : kBatchProgressMessage;
        mailbox->Post(std::make_unique<BatchReportMessage>(number, info));
    };
    converter.onConflict = [mailbox](const std::wstring&) {
        std::promise<BatchConflictPolicy> promise;
        std::future<BatchConflictPolicy> answer = promise.get_future();
        mailbox->Post(std::make_unique<BatchConflictMessage>(std::move(promise)));
        try {
            return answer.get();
        } catch (const std::future_error&) {
            return BatchConflictPolicy::CancelBatch;
        }
    };
}

void StartBatchWorker(BatchWorkerJob job) {
    ++gWorkers;
    try {
        std::thread([job = std::move(job)]() mutable {
            Work(std::move(job));
            --gWorkers;
        }).detach();
    } catch (...) {
        --gWorkers;
        throw;
    }
}

bool IsBatchWorkerRunning() {
    return gWorkers > 0;
}

}  // namespace vistrel
