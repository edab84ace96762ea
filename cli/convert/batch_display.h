// SPDX-License-Identifier: GPL-3.0-or-later
// What a batch tells on standard error: lines, and on a terminal a bar that moves.
#pragma once

#include <chrono>
#include <mutex>
#include <string>
#include <string_view>

#include "cli/convert/time_left.h"

namespace vistrel {

// A file among those of a batch.
struct BatchPosition {
    int current = 0;  // from 1
    int total = 0;
    std::string name = {};
};

// Any thread.
class BatchDisplay {
  public:
    // With a bar where standard error is a terminal. Should standard output be one too, what is
    // printed there is dropped until RemoveBar: it would tear the bar.
    BatchDisplay();
    ~BatchDisplay();
    BatchDisplay(const BatchDisplay&) = delete;
    BatchDisplay& operator=(const BatchDisplay&) = delete;

    [[nodiscard]] bool HasBar() const { return bar_; }

    // A file is being converted, and a stage of it begins: a line "Processing 2 / 4: a.jpg (0 s),
    // about 3 min left", or the bar.
    void Show(const BatchPosition& position);

    // That file has been tried, in so much time.
    void Ended(std::chrono::duration<double> taken);

    // Lets the bar's seconds go on.
    void Tick();

    // A line that stays.
    void Tell(std::string_view line);

    // No file is being converted any more.
    void RemoveBar();

  private:
    using Clock = std::chrono::steady_clock;

    void DrawBar();
    [[nodiscard]] std::string Left() const;
    [[nodiscard]] long long Seconds() const;

    const bool bar_;
    int keptOutput_ = -1;  // standard output, while what is printed there is dropped
    std::mutex mutex_;
    // Guarded by mutex_. No file while `current` is 0.
    BatchPosition shown_;
    Clock::time_point fileStart_;
    TimeLeft timeLeft_;
};

}  // namespace vistrel
