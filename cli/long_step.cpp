// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/long_step.h"

#include <algorithm>
#include <utility>

#include "cli/command.h"

namespace vistrel {

void LongStep::Begin(std::string name) {
    const std::lock_guard lock(mutex_);
    name_ = std::move(name);
    start_ = Clock::now();
    next_ = kLong;
}

void LongStep::Tick(Clock::time_point now) {
    const std::lock_guard lock(mutex_);
    const auto passed = std::chrono::duration_cast<std::chrono::seconds>(now - start_);
    if (name_.empty() || passed < next_) return;
    Tell(name_ + ' ' + std::to_string(passed.count()) + " s");
    next_ = passed + std::min(passed, kLongestSilence);
}

}  // namespace vistrel
