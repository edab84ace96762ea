// SPDX-License-Identifier: GPL-3.0-or-later
// The events that the thread of a batch posts to the dialog.
#pragma once

#include <QEvent>
#include <future>
#include <utility>

#include "batch/batch_converter.h"

namespace vistrel {

// Numbers of the events, valid as QEvent::Type.
inline constexpr int kBatchProgressMessage = 0x8000 + 10;  // a file is being converted
inline constexpr int kBatchFinishedMessage = 0x8000 + 11;  // the last report of a batch
inline constexpr int kBatchConflictMessage = 0x8000 + 12;  // the batch waits for an answer

class BatchReportMessage : public QEvent {
  public:
    BatchReportMessage(int number, BatchProgressInfo info)
        : QEvent(static_cast<QEvent::Type>(number)), info_(std::move(info)) {}

    [[nodiscard]] const BatchProgressInfo& Info() const { return info_; }

  private:
    BatchProgressInfo info_;
};

// Whoever waits for the answer is let go, without one, when the event is lost on its way.
class BatchConflictMessage : public QEvent {
  public:
    explicit BatchConflictMessage(std::promise<BatchConflictPolicy> answer)
        : QEvent(static_cast<QEvent::Type>(kBatchConflictMessage)), answer_(std::move(answer)) {}

    void Answer(BatchConflictPolicy policy) { answer_.set_value(policy); }

  private:
    std::promise<BatchConflictPolicy> answer_;
};

}  // namespace vistrel
