// SPDX-License-Identifier: GPL-3.0-or-later
// Tells what goes on while a command takes long.
#pragma once

#include <chrono>
#include <mutex>
#include <string>

namespace vistrel {

// Any thread.
class LongStep {
  public:
    using Clock = std::chrono::steady_clock;

    // How often to call Tick(), in milliseconds.
    static constexpr int kTick = 1000;

    // The step before has ended.
    void Begin(std::string name);

    // A line "NAME 5 s" on standard error when the step has lasted for five seconds, and again each
    // time that twice as many have passed, at the latest after a further minute.
    void Tick(Clock::time_point now = Clock::now());

  private:
    static constexpr std::chrono::seconds kLong{5};
    static constexpr std::chrono::seconds kLongestSilence{60};

    std::mutex mutex_;
    // Guarded by mutex_. Empty before the first step.
    std::string name_;
    Clock::time_point start_;
    std::chrono::seconds next_ = kLong;  // when to tell, seconds from start_
};

}  // namespace vistrel
