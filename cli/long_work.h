// SPDX-License-Identifier: GPL-3.0-or-later
// The work of a command while somebody looks after it.
#pragma once

#include <functional>

#include "cli/long_step.h"

namespace vistrel {

// Runs `work` on a thread of its own, tells which of its steps take long, and throws what it
// throws. SIGINT, SIGTERM and SIGHUP are given to `onInterrupt`, which ends the process. Main
// thread, before any other has started.
void RunLongWork(const std::function<void(LongStep& step)>& work,
                 const std::function<void(int signal)>& onInterrupt);

// For `onInterrupt`: files that are not whole are gone, and the process ends of the signal.
[[noreturn]] void EndUnfinished(int signal);

}  // namespace vistrel
