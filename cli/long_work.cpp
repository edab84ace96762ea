// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/long_work.h"

#include <exception>
#include <thread>

#include "base/new_file.h"
#include "cli/interrupts.h"

namespace vistrel {

void RunLongWork(const std::function<void(LongStep& step)>& work,
                 const std::function<void(int signal)>& onInterrupt) {
    Interrupts interrupts;
    LongStep step;
    std::exception_ptr failure;
    std::thread worker([&] {
        try {
            work(step);
        } catch (...) {
            failure = std::current_exception();
        }
        interrupts.Wake();
    });
    while (const int event = interrupts.Wait(LongStep::kTick)) {
        if (event != Interrupts::kTimeout) onInterrupt(event);
        step.Tick();
    }
    worker.join();
    if (failure) std::rethrow_exception(failure);
}

void EndUnfinished(int signal) {
    DiscardUnfinishedFiles();
    Interrupts::DieOf(signal);
}

}  // namespace vistrel
