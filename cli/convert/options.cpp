// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/convert/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <map>
#include <string_view>

#include "base/scene_kind.h"
#include "cli/command.h"
#include "cli/convert/scene_conversion.h"
#include "formats/scene_formats.h"

namespace vistrel {
namespace {

void AddSpzOptions(CLI::App& app, ConvertOptions& options) {
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

void DescribeConvert(CLI::App& app, ConvertOptions& options, bool& isBatch) {
    const std::map<std::string, BatchConflictPolicy> policies = {
        {"overwrite", BatchConflictPolicy::OverwriteAll},
        {"rename", BatchConflictPolicy::RenameAll},
        {"cancel", BatchConflictPolicy::CancelBatch}};
    app.set_version_flag("--version", "vistrel-convert " VISTREL_VERSION);
    app.add_option("--model", options.model,
                   "ONNX file of the network; if not given, the one that is chosen in the window");
    app.add_option_function<std::string>(
           "--provider",
           [&options](const std::string& name) {
               options.provider = name == "cuda" ? ExecutionProvider::Cuda : ExecutionProvider::Cpu;
           },
           "What the network runs on [cpu]")
        ->check(CLI::IsMember({"cpu", "cuda"}));
    auto* keepRatio =
        app.add_option("--keep-ratio", options.keepRatio, "Share of the Gaussians to keep")
            ->capture_default_str();
    auto* batch = app.add_flag("--batch", isBatch,
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
    AddSpzOptions(app, options);
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

void RefuseUnused(const CLI::App& app, std::initializer_list<const char*> names,
                  const std::string& reason) {
    for (const char* const name : names) {
        if (app.count(name) > 0) throw CLI::ValidationError(name, reason);
    }
}

// Endings of what is no scene, or of scenes that are not written: nobody who writes them expects a
// PLY file.
void CheckSceneName(const std::filesystem::path& output) {
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

// Throws CLI::ValidationError for what does not go together; finds out what the input is.
void TakeConvert(const CLI::App& app, bool isBatch, ConvertOptions& options) {
    if (!(options.keepRatio >= 0.0F && options.keepRatio <= 1.0F)) {  // also not a number
        throw CLI::ValidationError("--keep-ratio", "is a number from 0 to 1");
    }
    const std::string ending = isBatch ? options.ending : SmallEnding(options.output);
    const bool isScene = !isBatch && IsSceneFile(options.input);
    if (!isBatch) CheckSceneName(options.output);
    if (ending != ".spz") {
        RefuseUnused(app, {"--spz-version"}, "goes with .spz files that are written");
        if (!isScene) RefuseUnused(app, {"--spz-frame"}, "goes with .spz files");
    }
    if (isBatch) options.task = ConvertOptions::Task::Folder;
    if (!isScene) return;
    RefuseUnused(app, {"--model", "--provider", "--focal", "--no-icc"},
                 "goes with a photograph, and " + options.input + " is a scene");
    options.task = ConvertOptions::Task::Scene;
}

}  // namespace

ParsedConvertOptions ParseConvertOptions(int argc, char** argv) {
    ParsedConvertOptions parsed;
    bool isBatch = false;
    CLI::App app(
        "Turns one photograph into a 3D Gaussian Splat scene, or a scene into another format.",
        "vistrel-convert");
    DescribeConvert(app, parsed.options, isBatch);
    try {
        app.parse(argc, argv);
        TakeConvert(app, isBatch, parsed.options);
    } catch (const CLI::ParseError& error) {
        parsed.status = app.exit(error) == 0 ? EXIT_SUCCESS : kWrongUsage;
    }
    return parsed;
}

}  // namespace vistrel
