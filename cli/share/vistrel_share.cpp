// SPDX-License-Identifier: GPL-3.0-or-later
// Makes one HTML file of a scene and its viewer, on the command line.
//
// Errors and what was written go to standard error. Exit status 0: the page was written; 1: it was
// not, standard error says why; 2: wrong usage.
#include <cstdlib>

#include "cli/command.h"
#include "cli/long_work.h"
#include "cli/share/options.h"
#include "cli/share/sharing.h"

int main(int argc, char** argv) {
    using namespace vistrel;
    return RunCommand([&] {
        const ParsedShareOptions parsed = ParseShareOptions(argc, argv);
        if (parsed.status) return *parsed.status;
        RunLongWork([&](LongStep& step) { ShareScene(parsed.options, step); }, EndUnfinished);
        return EXIT_SUCCESS;
    });
}
