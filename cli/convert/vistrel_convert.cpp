// SPDX-License-Identifier: GPL-3.0-or-later
// The conversion engine on the command line, and one format of scenes into another.
//
// The log goes to standard output, stage texts and errors to standard error. Exit status 0: the
// scene was written, with --batch every scene; 1: it was not, or the log was lost, standard error
// says why; 2: wrong usage.
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "cli/chosen_model.h"
#include "cli/command.h"
#include "cli/convert/batch_conversion.h"
#include "cli/convert/options.h"
#include "cli/convert/output_file.h"
#include "cli/convert/scene_conversion.h"
#include "cli/convert/single_conversion.h"

namespace vistrel {
namespace {

int ConvertAll(const ConvertOptions& options) {
    switch (ConvertFolder({options.model, options.input, options.output, options.provider,
                           options.onConflict, options.focal, !options.ignoreColours,
                           options.ending, options.writing})) {
        case BatchOutcome::AllConverted:
            return EXIT_SUCCESS;
        case BatchOutcome::NotAllConverted:
            return EXIT_FAILURE;
        case BatchOutcome::WouldOverwriteInput:
            return kWrongUsage;
    }
    return EXIT_FAILURE;
}

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

// Where no network is named, the one of the window. Throws std::runtime_error where its file is
// missing; false: none is chosen.
bool FindModel(ConvertOptions& options) {
    if (!options.model.empty()) return true;
    options.model = ChosenModel();
    if (options.model.empty()) {
        Tell(
            "No network is chosen: name one with --model, or choose one in the window of Vistrel.");
        return false;
    }
    if (std::filesystem::exists(options.model)) return true;
    throw std::runtime_error(options.model +
                             ", the network that is chosen in the window, is missing: name another "
                             "with --model, or choose one there.");
}

int Main(int argc, char** argv) {
    ParsedConvertOptions parsed = ParseConvertOptions(argc, argv);
    if (parsed.status) return *parsed.status;
    ConvertOptions& options = parsed.options;
    if (options.task == ConvertOptions::Task::Scene) return ConvertOther(options);
    if (!FindModel(options)) return kWrongUsage;
    if (options.task == ConvertOptions::Task::Folder) return ConvertAll(options);
    return ConvertOne(options);
}

}  // namespace
}  // namespace vistrel

int main(int argc, char** argv) {
    return vistrel::RunCommand([&] { return vistrel::Main(argc, argv); });
}
