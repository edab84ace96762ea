// SPDX-License-Identifier: GPL-3.0-or-later
// What a batch tells on standard error: lines, and on a terminal a bar that moves.
#pragma once

#include <chrono>
#include <mutex>
#include <string>
#include <string_view>

#include "batch/batch_converter.h"

namespace vistrel {

// Any thread.
class BatchDisplay {
  public:
    // With a bar where standard error is a terminal. Should standard output be one too, what is
    // printed there is dropped from here on: it would tear the bar.
    BatchDisplay();

    [[nodiscard]] bool HasBar() const { return bar_; }

    // A file is being converted: a line "Processing 1 / 4: a.jpg (0 s)", or the bar.
    void Show(const BatchProgressInfo& info);

    // Lets the bar's seconds go on.
    void Tick();

    // A line that stays.
    void Tell(std::string_view line);

    // No file is being converted any more.
    void RemoveBar();

  private:
    using Clock = std::chrono::steady_clock;

    void DrawBar();

    const bool bar_;
    std::mutex mutex_;
    // Guarded by mutex_. No file while `current` is 0.
    BatchProgressInfo shown_;
    Clock::time_point fileStart_;
};

}  // namespace vistrel
