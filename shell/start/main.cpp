// SPDX-License-Identifier: GPL-3.0-or-later
// The program's entry point.
#include "shell/start/program.h"

int main(int argc, char** argv) {
    return vistrel::RunVistrel(argc, argv);
}
