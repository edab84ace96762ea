// SPDX-License-Identifier: GPL-3.0-or-later
// The conversion engine on the command line.
//
// The log goes to standard output, stage texts and errors to standard error. Exit status 0: the PLY
// was written, with --batch every PLY; 1: it was not, or the log was lost, standard error says why;
// 2: wrong usage.
#include <CLI/CLI.hpp>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>

#include "base/new_file.h"
#include "base/text_encoding.h"
#include "cli/chosen_model.h"
#include "cli/command.h"
#include "cli/convert/batch_conversion.h"
#include "cli/convert/piped_photograph.h"
#include "cli/interrupts.h"
#include "cli/long_step.h"
#include "cli/output_check.h"
#include "engine/conversion_engine.h"

namespace vistrel {
namespace {

struct Options {
    std::string model;
    std::string provider = "cpu";
    float keepRatio = 1.0F;
    bool batch = false;
    BatchConflictPolicy onConflict = BatchConflictPolicy::CancelBatch;
    std::string input;   // picture, with `batch` a folder of pictures
    std::string output;  // PLY file, with `batch` a folder for them

    [[nodiscard]] ExecutionProvider Provider() const {
        return provider == "cuda" ? ExecutionProvider::Cuda : ExecutionProvider::Cpu;
    }
};

// Throws std::filesystem::filesystem_error when the disk does not tell.
bool IsSameFile(const std::string& first, const std::string& second) {
    std::error_code error;
    if (std::filesystem::equivalent(first, second, error)) return true;
    if (error == std::errc::io_error) {
        throw std::filesystem::filesystem_error("cannot look at files", first, second, error);
    }
    return false;
}

// Writing the scene over the picture or the network would lose them.
bool OutputIsAnInput(const Options& options) {
    return IsSameFile(options.output, options.input) || IsSameFile(options.output, options.model);
}

// Throws std::exception with what went wrong.
void ConvertAndTell(const Options& options, LongStep& step) {
    std::optional<PipedPhotograph> photograph;
    std::error_code ignored;
    if (std::filesystem::is_fifo(options.input, ignored)) {
        Tell("Reading the pipe\u2026");
        step.Begin("Reading the pipe\u2026");
        photograph.emplace(options.input);
    }
    const ConversionJob job{FromUtf8(options.model),
                            FromUtf8(photograph ? photograph->Path() : options.input),
                            FromUtf8(options.output), options.keepRatio, options.Provider()};
    int stages = 0;
    ConversionCallbacks callbacks;
    callbacks.onProgress = [&](const std::wstring& stage) {
        const std::string text = ToUtf8(stage);
        Tell(text);
        step.Begin(++stages == kNetworkStage ? "Opening the network\u2026" : text);
    };
    callbacks.onNetworkOpened = [&step] { step.Begin("Running the network\u2026"); };
    std::string failure;
    callbacks.onFinished = [&failure](bool success, const std::wstring& text) {
        if (!success) failure = ToUtf8(text);
    };
    const ConversionEngine engine;
    if (!engine.Run(job, callbacks)) throw std::runtime_error(failure);
}

void Convert(const Options& options) {
    Interrupts interrupts;
    CreateOutputFolder(FromUtf8(options.output));
    CheckOutput(options.output);

    LongStep step;
    std::exception_ptr failure;
    std::thread worker([&] {
        try {
            ConvertAndTell(options, step);
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
}

int ConvertAll(const Options& options) {
    switch (ConvertFolder(
        {options.model, options.input, options.output, options.Provider(), options.onConflict})) {
        case BatchOutcome::AllConverted:
            return EXIT_SUCCESS;
        case BatchOutcome::NotAllConverted:
            return EXIT_FAILURE;
        case BatchOutcome::WouldOverwriteInput:
            return kWrongUsage;
    }
    return EXIT_FAILURE;
}

void Describe(CLI::App& app, Options& options) {
    const std::map<std::string, BatchConflictPolicy> policies = {
        {"overwrite", BatchConflictPolicy::OverwriteAll},
        {"rename", BatchConflictPolicy::RenameAll},
        {"cancel", BatchConflictPolicy::CancelBatch}};
    app.set_version_flag("--version", "vistrel-convert " VISTREL_VERSION);
    app.add_option("--model", options.model,
                   "ONNX file of the network; if not given, the one that is chosen in the window");
    app.add_option("--provider", options.provider, "What the network runs on")
        ->check(CLI::IsMember({"cpu", "cuda"}))
        ->capture_default_str();
    auto* keepRatio =
        app.add_option("--keep-ratio", options.keepRatio, "Share of the Gaussians to keep")
            ->capture_default_str();
    auto* batch = app.add_flag("--batch", options.batch,
                               "Convert all pictures of one folder: .jpg, .jpeg, .png, .bmp")
                      ->excludes(keepRatio);
    app.add_option_function<std::string>(
           "--on-conflict",
           [policies, &options](const std::string& name) {
               options.onConflict = policies.at(name);
           },
           "With --batch: what happens when PLY files exist already [cancel]")
        ->check(CLI::IsMember({"overwrite", "rename", "cancel"}))
        ->needs(batch);
    app.add_option("PHOTO", options.input,
                   "Picture to convert, may be a pipe; with --batch the folder of pictures")
        ->required();
    app.add_option("OUTPUT", options.output,
                   "PLY file to write, its folder is created; with --batch the folder for them")
        ->required();
}

// Where no network is named, the one of the window. Throws std::runtime_error where its file is
// missing; false: none is chosen.
bool FindModel(Options& options) {
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
    Options options;
    CLI::App app("Turns one photograph into a 3D Gaussian Splat scene (binary PLY).",
                 "vistrel-convert");
    Describe(app, options);
    try {
        app.parse(argc, argv);
        if (!(options.keepRatio >= 0.0F && options.keepRatio <= 1.0F)) {  // also not a number
            throw CLI::ValidationError("--keep-ratio", "is a number from 0 to 1");
        }
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? EXIT_SUCCESS : kWrongUsage;
    }
    if (!FindModel(options)) return kWrongUsage;
    if (options.batch) return ConvertAll(options);
    if (OutputIsAnInput(options)) {
        Tell("OUTPUT would overwrite PHOTO or MODEL.");
        return kWrongUsage;
    }
    Convert(options);
    return EXIT_SUCCESS;
}

}  // namespace
}  // namespace vistrel

int main(int argc, char** argv) {
    return vistrel::RunCommand([&] { return vistrel::Main(argc, argv); });
}
