// SPDX-License-Identifier: GPL-3.0-or-later
// The conversion engine on the command line.
//
// The log goes to standard output, stage texts and errors to standard error. Exit status 0: the PLY
// was written, with --batch every PLY; 1: it was not, or the log was lost, standard error says why;
// 2: wrong usage.
#include <CLI/CLI.hpp>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>

#include "cli/chosen_model.h"
#include "cli/command.h"
#include "cli/convert/batch_conversion.h"
#include "cli/convert/single_conversion.h"
#include "photos/focal_length.h"

namespace vistrel {
namespace {

struct Options {
    std::string model;
    std::string provider = "cpu";
    float keepRatio = 1.0F;
    bool batch = false;
    BatchConflictPolicy onConflict = BatchConflictPolicy::CancelBatch;
    FocalChoice focal;
    bool ignoreColours = false;
    std::string input;   // picture, with `batch` a folder of pictures
    std::string output;  // PLY file, with `batch` a folder for them

    [[nodiscard]] ExecutionProvider Provider() const {
        return provider == "cuda" ? ExecutionProvider::Cuda : ExecutionProvider::Cpu;
    }
};

int ConvertAll(const Options& options) {
    switch (ConvertFolder({options.model, options.input, options.output, options.Provider(),
                           options.onConflict, options.focal, !options.ignoreColours})) {
        case BatchOutcome::AllConverted:
            return EXIT_SUCCESS;
        case BatchOutcome::NotAllConverted:
            return EXIT_FAILURE;
        case BatchOutcome::WouldOverwriteInput:
            return kWrongUsage;
    }
    return EXIT_FAILURE;
}

int ConvertOne(const Options& options) {
    const SingleOptions single = {options.model,         options.input,     options.output,
                                  options.Provider(),    options.keepRatio, options.focal,
                                  !options.ignoreColours};
    if (OutputIsAnInput(single)) {
        Tell("OUTPUT would overwrite PHOTO or MODEL.");
        return kWrongUsage;
    }
    ConvertPhotograph(single);
    return EXIT_SUCCESS;
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
                               "Convert all pictures of one folder: .jpg, .jpeg, .png, .bmp, "
                               ".webp, .heic, .heif, .avif, .tif, .tiff, .jxl, .dng, .cr2, .cr3, "
                               ".nef, .arw, .raf, .orf, .rw2")
                      ->excludes(keepRatio);
    app.add_option_function<std::string>(
           "--on-conflict",
           [policies, &options](const std::string& name) {
               options.onConflict = policies.at(name);
           },
           "With --batch: what happens when PLY files exist already [cancel]")
        ->check(CLI::IsMember({"overwrite", "rename", "cancel"}))
        ->needs(batch);
    app.add_option_function<std::string>(
           "--focal",
           [&options](const std::string& text) { options.focal = *ParseFocalChoice(text); },
           "Focal length: width (as the picture is wide), auto (as its EXIF data tell), "
           "26mm (on 35 mm film) or 3000px [width]")
        ->type_name("WHAT")
        ->check([](const std::string& text) {
            return ParseFocalChoice(text) ? "" : "is width, auto, or a number with mm or px";
        });
    app.add_flag("--no-icc", options.ignoreColours,
                 "Take colours for sRGB, whatever the picture says about them");
    app.add_option("PHOTO", options.input,
                   "Picture to convert: JPEG, PNG, WebP, HEIC, AVIF, TIFF, JPEG XL, camera raw, "
                   "BMP, GIF, TGA, PSD, HDR, PIC, PNM, known by content; may be a pipe, and - is "
                   "standard input; with --batch the folder of pictures")
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
    return ConvertOne(options);
}

}  // namespace
}  // namespace vistrel

int main(int argc, char** argv) {
    return vistrel::RunCommand([&] { return vistrel::Main(argc, argv); });
}
