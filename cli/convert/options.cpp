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

constexpr const char* kManyFiles = "Many files";  // heading of the help

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

// It needs no files, so it is looked for before all others.
constexpr const char* kReportOption = "--report-problem";

// As the command line has it.
struct ConvertArguments {
    bool isBatch = false;
    std::string outputDir;
    std::string part;
    std::string input;
    std::string output;
    std::vector<std::string> more;
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

void DescribeManyInputs(CLI::App& app, ManyOptions& many, ConvertArguments& arguments) {
    auto* const batch = app.add_flag("--batch", arguments.isBatch,
                                     "Convert all pictures of one folder into another: " +
                                         ListOf(kPhotographEndings))
                            ->group(kManyFiles);
    app.add_flag("--recursive", many.isRecursive,
                 "With --batch: also those of the folders below it, into equal folders; links to "
                 "folders are not followed")
        ->group(kManyFiles)
        ->needs(batch);
    app.add_option("--output-dir", arguments.outputDir,
                   "Convert any number of pictures and scenes into this folder, which is created")
        ->group(kManyFiles)
        ->type_name("DIR")
        ->excludes(batch);
    app.add_option("--part", arguments.part,
                   "Only every N-th of many files, beginning with the K-th, for one of N machines")
        ->group(kManyFiles)
        ->type_name("K/N");
}

void DescribeManyOutputs(CLI::App& app, ManyOptions& many) {
    const std::map<std::string, ConflictChoice> choices = {{"cancel", ConflictChoice::Cancel},
                                                           {"overwrite", ConflictChoice::Overwrite},
                                                           {"rename", ConflictChoice::Rename},
                                                           {"skip", ConflictChoice::Skip}};
    app.add_option_function<std::string>(
           "--format", [&many](const std::string& name) { many.ending = '.' + name; },
           "Format of the scenes of many files [ply]")
        ->group(kManyFiles)
        ->check(CLI::IsMember({"ply", "compressed.ply", "splat", "spz", "sog", "glb"}));
    app.add_option_function<std::string>(
           "--on-conflict",
           [choices, &many](const std::string& name) { many.onConflict = choices.at(name); },
           "What happens where scenes of many files exist already: cancel (nothing is converted), "
           "overwrite, "
           "rename (the new ones get numbers) or skip (what is there is not made again) [cancel]")
        ->group(kManyFiles)
        ->check(CLI::IsMember({"cancel", "overwrite", "rename", "skip"}));
    app.add_option(
           "--report", many.report,
           "Table to which each of many files adds a line when it has been tried: input, output, "
           "seconds, Gaussians, error, with tabs between them; \\t, \\n, \\r and \\\\ stand "
           "for characters of names; skipped files have no line")
        ->group(kManyFiles)
        ->type_name("FILE");
    app.add_option("--then", many.then,
                   "Command that the shell runs after many files, unless you stop it; it knows "
                   "$VISTREL_CONVERTED, $VISTREL_FAILED, $VISTREL_SKIPPED and $VISTREL_OUTPUT_DIR")
        ->group(kManyFiles)
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
    const std::string reportHelp =
        "Alone: print what to tell with a report of a problem, without names of files";
    app.add_flag(kReportOption, reportHelp);
    DescribePhotographs(app, options);
    app.add_option("--keep-ratio", options.keepRatio, "Share of the Gaussians to keep")
        ->type_name("NUMBER")
        ->capture_default_str();
    AddSpzOptions(app, options);
    DescribeManyInputs(app, options.many, arguments);
    DescribeManyOutputs(app, options.many);
    // Two of their own: of a list CLI11 would take the brackets off a name such as [trip].
    app.add_option("INPUT", arguments.input,
                   "Picture to convert: JPEG, PNG, WebP, HEIC, AVIF, TIFF, JPEG XL, camera raw, "
                   "BMP, GIF, TGA, PSD, HDR, PIC, PNM, known by content; may be a pipe, and - is "
                   "standard input; or a scene: " +
                       ListOf(kReadEndings) + "; with --batch the folder of pictures")
        ->type_name("")
        ->required();
    app.add_option("OUTPUT", arguments.output,
                   "Scene to write, in the format of its ending: " + ListOf(kWrittenEndings) +
                       "; its folder is created; with --batch the folder for scenes; with "
                       "--output-dir the second INPUT")
        ->type_name("");
    app.add_option("MORE", arguments.more,
                   "With --output-dir: any number of further pictures and scenes")
        ->type_name("");
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

void CheckTwo(const CLI::App& app, const ConvertArguments& arguments) {
    if (arguments.input.empty()) throw CLI::ValidationError("INPUT", "is empty");
    if (app.count("OUTPUT") == 0) throw CLI::RequiredError("OUTPUT");
    if (!arguments.more.empty()) {
        throw CLI::ValidationError(arguments.more.front(), "goes with --output-dir");
    }
}

void TakeMany(const CLI::App& app, const ConvertArguments& arguments, ConvertOptions& options) {
    ManyOptions& many = options.many;
    if (arguments.isBatch) {
        CheckTwo(app, arguments);
        many.inputDir = arguments.input;
        many.outputDir = arguments.output;
    } else {
        many.files = {arguments.input};
        if (app.count("OUTPUT") > 0) many.files.emplace_back(arguments.output);
        many.files.insert(many.files.end(), arguments.more.begin(), arguments.more.end());
        many.outputDir = arguments.outputDir;
        if (std::ranges::count(many.files, "-") > 0) {
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
    CheckTwo(app, arguments);
    options.input = arguments.input;
    options.output = arguments.output;
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
    RefuseUnused(app, {kReportOption}, "stands alone");
    if (arguments.isBatch || app.count("--output-dir") > 0) {
        TakeMany(app, arguments, options);
    } else {
        TakeOne(app, arguments, options);
    }
}

}  // namespace

ParsedConvertOptions ParseConvertOptions(int argc, char** argv) {
    ParsedConvertOptions parsed;
    if (argc == 2 && argv[1] == std::string_view(kReportOption)) {
        parsed.options.task = ConvertOptions::Task::Report;
        return parsed;
    }
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
