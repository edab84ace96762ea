// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/command.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>

#include "base/last_failure.h"

namespace vistrel {
namespace {

void FlushOutput() {
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return;
    throw std::runtime_error("standard output could not be written");
}

}  // namespace

void Tell(const std::string& line) {
    std::fprintf(stderr, "%s\n", line.c_str());
}

int RunCommand(const std::function<int()>& work) {
    std::signal(SIGPIPE, SIG_IGN);
    try {
        const int status = work();
        FlushOutput();
        return status;
    } catch (const std::exception& error) {
        Tell(std::string("Error: ") + error.what());
        KeepFailure(error.what());
        return EXIT_FAILURE;
    }
}

}  // namespace vistrel
