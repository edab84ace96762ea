// SPDX-License-Identifier: GPL-3.0-or-later
// Fetches the network, or an ONNX Runtime for graphics cards, on the command line.
//
// What goes on and errors go to standard error. Exit status 0: what was asked for is there; 1: it
// is not, standard error says why; 2: wrong usage.
#include "cli/command.h"
#include "cli/fetch/gpu_runtime.h"
#include "cli/fetch/model_file.h"
#include "cli/fetch/options.h"
#include "engine/onnxruntime_library.h"

int main(int argc, char** argv) {
    using namespace vistrel;
    KeepOnnxRuntimeSilent();
    return RunCommand([&] {
        const ParsedFetchOptions parsed = ParseFetchOptions(argc, argv);
        if (parsed.status) return *parsed.status;
        const FetchOptions& options = parsed.options;
        switch (options.task) {
            case FetchOptions::Task::CheckModel:
                return CheckModel(options.model, options.checked);
            case FetchOptions::Task::Gpu:
                return FetchGpuRuntime(options.gpu);
            case FetchOptions::Task::FetchModel:
                break;
        }
        return FetchModel(options.model);
    });
}
