// SPDX-License-Identifier: GPL-3.0-or-later
// The program's entry point.
#include "engine/onnxruntime_library.h"
#include "shell/start/program.h"

int main(int argc, char** argv) {
    vistrel::KeepOnnxRuntimeSilent();
    return vistrel::RunVistrel(argc, argv);
}
