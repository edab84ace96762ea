// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/convert/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <map>
#include <string_view>
#include <system_error>
#include <vector>

#include "base/scene_kind.h"
#include "cli/command.h"
#include "cli/convert/photograph_folder.h"
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

// As the command line has it.
struct ConvertArguments {
    bool isBatch = false;
    std::string outputDir;
    std::string part;
    std::vector<std::string> files;
};

void DescribePhotographs(CLI::App& app, ConvertOptions& options) {
    app.add_option("--model", options.model,
                   "ONNX file of the network; if not given, the one that is chosen in the window")
        ->type_name("FILE");
    app.add_option_function<std::string>(
           "--provider",
           [&options](const std::string& name) {
               options.provider = name == "cuda" ? ExecutionProvider::Cuda : ExecutionProvider::Cpu;
           },
           "What the network runs on [cpu]")
        ->check(CLI::IsMember({"cpu", "cuda"}));
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
}

void DescribeMany(CLI::App& app, ManyOptions& many, ConvertArguments& arguments) {
    const std::map<std::string, ConflictChoice> choices = {{"cancel", ConflictChoice::Cancel},
                                                           {"overwrite", ConflictChoice::Overwrite},
                                                           {"rename", ConflictChoice::Rename},
                                                           {"skip", ConflictChoice::Skip}};
    auto* const batch =
        app.add_flag("--batch", arguments.isBatch,
                     "Convert all pictures of one folder: " + ListOf(kPhotographEndings));
    app.add_flag("--recursive", many.isRecursive,
                 "With --batch: also those of the folders below it, into the same folders below "
                 "OUTPUT; links to folders are not followed")
        ->needs(batch);
    app.add_option("--output-dir", arguments.outputDir,
                   "Convert any number of pictures and scenes into this folder, which is created")
        ->type_name("DIR")
        ->excludes(batch);
    app.add_option_function<std::string>(
           "--format", [&many](const std::string& name) { many.ending = '.' + name; },
           "Of many: format of the scenes [ply]")
        ->check(CLI::IsMember({"ply", "compressed.ply", "splat", "spz", "sog", "glb"}));
    app.add_option_function<std::string>(
           "--on-conflict",
           [choices, &many](const std::string& name) { many.onConflict = choices.at(name); },
           "Of many: what happens where scenes exist already: cancel (nothing is converted), "
           "overwrite, rename (the new ones get numbers) or skip (what is there is not made "
           "again) [cancel]")
        ->check(CLI::IsMember({"cancel", "overwrite", "rename", "skip"}));
    app.add_option("--part", arguments.part,
                   "Of many: K/N is every N-th of the files, beginning with the K-th, for one of N "
                   "machines")
        ->type_name("K/N");
    app.add_option("--report", many.report,
                   "Of many: table to which each file adds a line when it has been tried: input, "
                   "output, seconds, Gaussians, error, with tabs between them; \\t, \\n, \\r and "
                   "\\\\ stand for characters of names; skipped files have no line")
        ->type_name("FILE");
    app.add_option("--then", many.then,
                   "Of many: command for the shell after the end, unless you stop it; knows "
                   "$VISTREL_CONVERTED, $VISTREL_FAILED, $VISTREL_SKIPPED and $VISTREL_OUTPUT_DIR")
        ->type_name("COMMAND");
}

void DescribeConvert(CLI::App& app, ConvertOptions& options, ConvertArguments& arguments) {
    app.name("vistrel-convert");
    app.description(
        "Turns photographs into 3D Gaussian Splat scenes, and scenes into other formats.");
    app.footer(
        "vistrel-convert photo.heic scene.ply\n"
        "vistrel-convert --keep-ratio 0.5 scene.ply small.spz\n"
        "vistrel-convert --batch --recursive --on-conflict skip photos scenes\n"
        "vistrel-convert --output-dir scenes --format spz one.jpg two.cr3 three.ply");
    app.set_version_flag("--version", "vistrel-convert " VISTREL_VERSION);
    DescribePhotographs(app, options);
    app.add_option("--keep-ratio", options.keepRatio, "Share of the Gaussians to keep")
        ->type_name("NUMBER")
        ->capture_default_str();
    AddSpzOptions(app, options);
    DescribeMany(app, options.many, arguments);
    app.add_option("FILE", arguments.files,
                   "INPUT OUTPUT: picture to convert (JPEG, PNG, WebP, HEIC, AVIF, TIFF, JPEG XL, "
                   "camera raw, BMP, GIF, TGA, PSD, HDR, PIC, PNM, known by content; may be a "
                   "pipe, and - is standard input) or scene (" +
                       ListOf(kReadEndings) +
                       "), and scene to write, in the format of its ending (" +
                       ListOf(kWrittenEndings) +
                       "), the folder of which is created; with --batch the folder of pictures and "
                       "the one for scenes; with --output-dir any number of pictures and scenes")
        ->type_name("")
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

void CheckSpz(const CLI::App& app, const std::string& ending, bool readsScenes) {
    if (ending == ".spz") return;
    RefuseUnused(app, {"--spz-version"}, "goes with .spz files that are written");
    if (!readsScenes) RefuseUnused(app, {"--spz-frame"}, "goes with .spz files");
}

// Throws CLI::ValidationError.
ListPart ParsePart(const std::string& text) {
    ListPart part;
    const char* const end = text.data() + text.size();
    const auto [slash, error] = std::from_chars(text.data(), end, part.number);
    if (error == std::errc() && slash != end && *slash == '/') {
        const auto [rest, wrong] = std::from_chars(slash + 1, end, part.count);
        if (wrong == std::errc() && rest == end && part.number >= 1 && part.number <= part.count) {
            return part;
        }
    }
    throw CLI::ValidationError("--part", "is K/N, such as 3/20, with K from 1 to N");
}

void TakeMany(const CLI::App& app, const ConvertArguments& arguments, ConvertOptions& options) {
    ManyOptions& many = options.many;
    if (arguments.isBatch) {
        if (arguments.files.size() != 2) {
            throw CLI::ValidationError("FILE", "with --batch is two folders");
        }
        many.inputDir = arguments.files[0];
        many.outputDir = arguments.files[1];
    } else {
        many.files.assign(arguments.files.begin(), arguments.files.end());
        many.outputDir = arguments.outputDir;
        if (std::ranges::count(arguments.files, "-") > 0) {
            throw CLI::ValidationError("-", "goes with an OUTPUT, not with --output-dir");
        }
    }
    if (!arguments.part.empty()) many.part = ParsePart(arguments.part);
    CheckSpz(app, many.ending, !arguments.isBatch);
    options.task = ConvertOptions::Task::Many;
}

// Finds out what the input is.
void TakeOne(const CLI::App& app, const ConvertArguments& arguments, ConvertOptions& options) {
    RefuseUnused(app, {"--format", "--on-conflict", "--part", "--report", "--then"},
                 "goes with --batch or --output-dir");
    if (arguments.files.size() != 2) {
        throw CLI::ValidationError("FILE",
                                   "is INPUT and OUTPUT, unless there is --batch or --output-dir");
    }
    options.input = arguments.files[0];
    options.output = arguments.files[1];
    const bool isScene = IsSceneFile(options.input);
    CheckSceneName(options.output);
    CheckSpz(app, SmallEnding(options.output), isScene);
    if (!isScene) return;
    RefuseUnused(app, {"--model", "--provider", "--focal", "--no-icc"},
                 "goes with a photograph, and " + options.input + " is a scene");
    options.task = ConvertOptions::Task::Scene;
}

// Throws CLI::ValidationError for what does not go together.
void TakeConvert(const CLI::App& app, const ConvertArguments& arguments, ConvertOptions& options) {
    if (!(options.keepRatio >= 0.0F && options.keepRatio <= 1.0F)) {  // also not a number
        throw CLI::ValidationError("--keep-ratio", "is a number from 0 to 1");
    }
    if (arguments.isBatch || app.count("--output-dir") > 0) {
        TakeMany(app, arguments, options);
    } else {
        TakeOne(app, arguments, options);
    }
}

}  // namespace

ParsedConvertOptions ParseConvertOptions(int argc, char** argv) {
    ParsedConvertOptions parsed;
    ConvertArguments arguments;
    CLI::App app;
    DescribeConvert(app, parsed.options, arguments);
    try {
        app.parse(argc, argv);
        TakeConvert(app, arguments, parsed.options);
    } catch (const CLI::ParseError& error) {
        parsed.status = app.exit(error) == 0 ? EXIT_SUCCESS : kWrongUsage;
    }
    return parsed;
}

void ShowConvertOptions(const std::function<void(const CLI::App& app)>& reader) {
    ConvertOptions options;
    ConvertArguments arguments;
    CLI::App app;
    DescribeConvert(app, options, arguments);
    reader(app);
}

}  // namespace vistrel
