// SPDX-License-Identifier: GPL-3.0-or-later
// The conversion engine on the command line, and one format of scenes into another.
//
// The log goes to standard output, stage texts and errors to standard error. Exit status 0: the
// scene was written, with --batch every scene; 1: it was not, or the log was lost, standard error
// says why; 2: wrong usage.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

#include "base/scene_kind.h"
#include "cli/chosen_model.h"
#include "cli/command.h"
#include "cli/convert/batch_conversion.h"
#include "cli/convert/output_file.h"
#include "cli/convert/scene_conversion.h"
#include "cli/convert/single_conversion.h"
#include "engine/onnxruntime_library.h"
#include "formats/scene_formats.h"
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
    std::string ending = kBatchEnding;  // with `batch`, of the scenes
    SceneWriteOptions writing;
    std::string input;   // picture or scene, with `batch` a folder of pictures
    std::string output;  // scene, with `batch` a folder for them

    [[nodiscard]] ExecutionProvider Provider() const {
        return provider == "cuda" ? ExecutionProvider::Cuda : ExecutionProvider::Cpu;
    }
};

int ConvertAll(const Options& options) {
    switch (ConvertFolder({options.model, options.input, options.output, options.Provider(),
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

int ConvertOne(const Options& options) {
    const SingleOptions single = {options.model,          options.input,     options.output,
                                  options.Provider(),     options.keepRatio, options.focal,
                                  !options.ignoreColours, options.writing};
    if (OutputIsAnInput(single)) {
        Tell("OUTPUT would overwrite PHOTO or MODEL.");
        return kWrongUsage;
    }
    ConvertPhotograph(single);
    return EXIT_SUCCESS;
}

int ConvertOther(const Options& options) {
    if (IsSameFile(options.output, options.input)) {
        Tell("OUTPUT would overwrite SCENE.");
        return kWrongUsage;
    }
    ConvertScene({options.input, options.output, options.keepRatio, options.writing});
    return EXIT_SUCCESS;
}

void AddFormatOptions(CLI::App& app, Options& options) {
    app.add_option_function<std::string>(
           "--spz-frame",
           [&options](const std::string& name) {
               options.writing.spzFrame = name == "rub" ? SpzFrame::RightUpBack : SpzFrame::AsPly;
           },
           "How scenes lie in .spz files, read or written: ply (like PLY files, as most programs "
           "expect) or rub (right, up, back, as the format's description has it) [ply]")
        ->check(CLI::IsMember({"ply", "rub"}));
    app.add_option("--spz-version", options.writing.spzVersion,
                   "Version of the .spz file that is written; fewer programs read 4")
        ->check(CLI::IsMember({3, 4}))
        ->capture_default_str();
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
           "With --batch: what happens when scenes exist already [cancel]")
        ->check(CLI::IsMember({"overwrite", "rename", "cancel"}))
        ->needs(batch);
    app.add_option_function<std::string>(
           "--format", [&options](const std::string& name) { options.ending = '.' + name; },
           "With --batch: format of the scenes [ply]")
        ->check(CLI::IsMember({"ply", "compressed.ply", "splat", "spz", "sog", "glb"}))
        ->needs(batch);
    app.add_option_function<std::string>(
           "--focal",
           [&options](const std::string& text) { options.focal = *ParseFocalChoice(text); },
           "Focal length: width (as the picture is wide), auto (as its EXIF data tell), "
           "26mm (on 35 mm film) or 3000px [width]")
        ->type_name("WHAT")
        ->check([](const std::string& text) {
            return ParseFocalChoice(text) ? "" : "must be width, auto, or a number with mm or px";
        });
    app.add_flag("--no-icc", options.ignoreColours,
                 "Take colours for sRGB, whatever the picture says about them");
    AddFormatOptions(app, options);
    app.add_option("INPUT", options.input,
                   "Picture to convert: JPEG, PNG, WebP, HEIC, AVIF, TIFF, JPEG XL, camera raw, "
                   "BMP, GIF, TGA, PSD, HDR, PIC, PNM, known by content; may be a pipe, and - is "
                   "standard input; or a scene: " +
                       ListOf(kReadEndings) + "; with --batch the folder of pictures")
        ->required();
    app.add_option("OUTPUT", options.output,
                   "Scene to write, in the format of its ending: " + ListOf(kWrittenEndings) +
                       "; its folder is created; with --batch the folder for scenes")
        ->required();
}

void CheckUnused(const CLI::App& app, std::initializer_list<const char*> names,
                 const std::string& reason) {
    for (const char* const name : names) {
        if (app.count(name) > 0) throw CLI::ValidationError(name, reason);
    }
}

// Endings of what is no scene, or of scenes that are not written: nobody who writes them expects a
// PLY file.
void CheckEnding(const std::filesystem::path& output) {
    constexpr auto kOthers = std::to_array<std::string_view>(
        {".ksplat", ".gltf", ".zip",  ".html", ".onnx", ".obj", ".jpg",  ".jpeg",
         ".jps",    ".mpo",  ".png",  ".webp", ".bmp",  ".gif", ".heic", ".heif",
         ".avif",   ".tif",  ".tiff", ".jxl",  ".dng",  ".cr2", ".cr3",  ".nef",
         ".arw",    ".raf",  ".orf",  ".rw2",  ".mp4",  ".webm"});
    if (std::ranges::find(kOthers, SmallEnding(output)) == kOthers.end()) return;
    throw CLI::ValidationError(output.native(),
                               "is no name of a scene that can be written: these "
                               "end in " +
                                   ListOf(kWrittenEndings));
}

// Throws CLI::ValidationError for what does not go together; says whether the input is a scene.
bool Check(const CLI::App& app, const Options& options) {
    if (!(options.keepRatio >= 0.0F && options.keepRatio <= 1.0F)) {  // also not a number
        throw CLI::ValidationError("--keep-ratio", "is a number from 0 to 1");
    }
    const std::string ending = options.batch ? options.ending : SmallEnding(options.output);
    const bool isScene = !options.batch && IsSceneFile(options.input);
    if (!options.batch) CheckEnding(options.output);
    if (ending != ".spz") {
        CheckUnused(app, {"--spz-version"}, "goes with .spz files that are written");
        if (!isScene) CheckUnused(app, {"--spz-frame"}, "goes with .spz files");
    }
    if (!isScene) return false;
    CheckUnused(app, {"--model", "--provider", "--focal", "--no-icc"},
                "goes with a photograph, and " + options.input + " is a scene");
    return true;
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
    CLI::App app(
        "Turns one photograph into a 3D Gaussian Splat scene, or a scene into another format.",
        "vistrel-convert");
    Describe(app, options);
    bool isScene = false;
    try {
        app.parse(argc, argv);
        isScene = Check(app, options);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? EXIT_SUCCESS : kWrongUsage;
    }
    if (isScene) return ConvertOther(options);
    if (!FindModel(options)) return kWrongUsage;
    if (options.batch) return ConvertAll(options);
    return ConvertOne(options);
}

}  // namespace
}  // namespace vistrel

int main(int argc, char** argv) {
    vistrel::KeepOnnxRuntimeSilent();
    return vistrel::RunCommand([&] { return vistrel::Main(argc, argv); });
}
