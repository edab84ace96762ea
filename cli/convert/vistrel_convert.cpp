// SPDX-License-Identifier: GPL-3.0-or-later
// The conversion engine on the command line, and one format of scenes into another.
//
// The log goes to standard output, stage texts and errors to standard error. Exit status 0: the
// scene is there, of many every one; 1: it is not, or the log was lost, standard error says why; 2:
// wrong usage.
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "cli/command.h"
#include "cli/convert/batch_conversion.h"
#include "cli/convert/chosen_network.h"
#include "cli/convert/options.h"
#include "cli/convert/output_file.h"
#include "cli/convert/problem_report.h"
#include "cli/convert/scene_conversion.h"
#include "cli/convert/single_conversion.h"
#include "engine/onnxruntime_library.h"

namespace vistrel {
namespace {

int ConvertOne(const ConvertOptions& options) {
    const SingleOptions single = {options.model,          options.input,     options.output,
                                  options.provider,       options.keepRatio, options.focal,
                                  !options.ignoreColours, options.writing};
    if (OutputIsAnInput(single)) {
        Tell("OUTPUT would overwrite PHOTO or MODEL.");
        return kWrongUsage;
    }
    ConvertPhotograph(single);
    return EXIT_SUCCESS;
}

int ConvertOther(const ConvertOptions& options) {
    if (IsSameFile(options.output, options.input)) {
        Tell("OUTPUT would overwrite SCENE.");
        return kWrongUsage;
    }
    ConvertScene({options.input, options.output, options.keepRatio, options.writing});
    return EXIT_SUCCESS;
}

int Main(int argc, char** argv) {
    ParsedConvertOptions parsed = ParseConvertOptions(argc, argv);
    if (parsed.status) return *parsed.status;
    ConvertOptions& options = parsed.options;
    switch (options.task) {
        case ConvertOptions::Task::Many:
            return ConvertMany(std::move(options));
        case ConvertOptions::Task::Scene:
            return ConvertOther(options);
        case ConvertOptions::Task::Report:
            std::fputs(ProblemReport().c_str(), stdout);
            return EXIT_SUCCESS;
        case ConvertOptions::Task::Photograph:
            break;
    }
    return FindNetwork(options) ? ConvertOne(options) : kWrongUsage;
}

}  // namespace
}  // namespace vistrel

int main(int argc, char** argv) {
    vistrel::KeepOnnxRuntimeSilent();
    return vistrel::RunCommand([&] { return vistrel::Main(argc, argv); });
}
