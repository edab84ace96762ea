// SPDX-License-Identifier: GPL-3.0-or-later
// The whole program.
#pragma once

#include "shell/window/main_window.h"

namespace vistrel {

// Runs until the window is closed and gives the process exit code: 1 where the program could not
// start, which the user was told. Ends the process itself where a worker goes on that nobody waits
// for.
int RunVistrel(int argc, char** argv, const MainWindowServices& services = {});

}  // namespace vistrel
