// SPDX-License-Identifier: GPL-3.0-or-later
// Makes one HTML file of a scene and its viewer, on the command line.
//
// Errors and what was written go to standard error. Exit status 0: the page was written; 1: it was
// not, standard error says why; 2: wrong usage.
#include <cstdlib>
#include <exception>
#include <thread>

#include "base/new_file.h"
#include "cli/command.h"
#include "cli/interrupts.h"
#include "cli/long_step.h"
#include "cli/share/options.h"
#include "cli/share/sharing.h"

namespace vistrel {
namespace {

int Share(const ShareOptions& options) {
    Interrupts interrupts;
    LongStep step;
    std::exception_ptr failure;
    std::thread worker([&] {
        try {
            ShareScene(options, step);
        } catch (...) {
            failure = std::current_exception();
        }
        interrupts.Wake();
    });
    while (const int event = interrupts.Wait(LongStep::kTick)) {
        if (event != Interrupts::kTimeout) {
            DiscardUnfinishedFiles();
            Interrupts::DieOf(event);
        }
        step.Tick();
    }
    worker.join();
    if (failure) std::rethrow_exception(failure);
    return EXIT_SUCCESS;
}

}  // namespace
}  // namespace vistrel

int main(int argc, char** argv) {
    using namespace vistrel;
    return RunCommand([&] {
        const ParsedShareOptions parsed = ParseShareOptions(argc, argv);
        return parsed.status ? *parsed.status : Share(parsed.options);
    });
}
