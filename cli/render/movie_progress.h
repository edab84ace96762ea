// SPDX-License-Identifier: GPL-3.0-or-later
// Tells how far a movie has come.
#pragma once

#include <chrono>
#include <string>

#include "cli/long_step.h"

namespace vistrel {

// "Frame 12 of 120, 8 s left"; without the time while it cannot be told.
[[nodiscard]] std::string ProgressLine(int done, int frames, std::chrono::duration<double> passed);

// Takes the line of progress off the terminal, if standard error is one. Any thread.
void EraseProgress();

// On a terminal a line on standard error that changes, gone with the object; elsewhere the lines of
// a long step.
class MovieProgress {
  public:
    MovieProgress(int frames, LongStep& step);
    ~MovieProgress();
    MovieProgress(const MovieProgress&) = delete;
    MovieProgress& operator=(const MovieProgress&) = delete;

    void FramesDone(int done) const;

  private:
    using Clock = std::chrono::steady_clock;

    int frames_;
    bool isOnTerminal_;
    Clock::time_point start_ = Clock::now();
};

}  // namespace vistrel
