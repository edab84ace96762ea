// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/render/options.h"

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <set>
#include <system_error>

#include "base/scene_kind.h"
#include "cli/command.h"
#include "cli/render/choices.h"
#include "cli/render/special_options.h"
#include "cli/render/wrong_usage.h"
#include "formats/scene_formats.h"
#include "render/splat_renderer.h"

namespace vistrel {
namespace {

// As the command line has it.
struct Arguments {
    std::string stereo = "none";
    std::string view = "photograph";
    std::string sizeText;
    std::string folder;
    std::string ending;
    bool crop = false;
    std::vector<std::string> files;
};

void AddViewOptions(CLI::App& app, RenderOptions& options, Arguments& arguments) {
    app.add_option("--stereo", arguments.stereo,
                   HelpOf("How the two eyes come into the picture:", kStereoLayouts))
        ->check(CLI::IsMember(NamesOf(kStereoLayouts)))
        ->type_name("LAYOUT")
        ->capture_default_str();
    app.add_option("--view", arguments.view,
                   "photograph: the camera that took it, each eye whole; window: what the window "
                   "shows at first; sbs, crossed and over-under show its middle")
        ->check(CLI::IsMember({"photograph", "window"}))
        ->type_name("VIEW")
        ->capture_default_str();
    app.add_flag("--swap", options.swap, "Exchange left and right");
    app.add_option("--parallax", options.parallax,
                   "In the photograph's view: by how much the eyes' pictures differ at most, as a "
                   "share of their width; 0: not at all [1/30]")
        ->type_name("NUMBER");
    app.add_flag("--crop,!--no-crop", arguments.crop,
                 "Move in until no edge of the picture is empty; usual in the photograph's view, "
                 "unless the file has no camera");
    app.add_flag("--general", options.window.general,
                 "In the window's view: for scenes that Vistrel has not made");
    app.add_option("--focus", options.window.focus, "In the window's view: -100 to 100 [0]")
        ->type_name("NUMBER");
    app.add_option("--depth", options.window.depth, "In the window's view: 0 to 200 [30]")
        ->type_name("NUMBER");
    app.add_option(
           "--size", arguments.sizeText,
           "Width and height of the whole picture in pixels; if not given, each eye has the "
           "photograph's size, or the window 1280x720; in movies at most 1920 (.gif 640) on a side")
        ->type_name("WxH");
}

void AddInputOptions(CLI::App& app, RenderOptions& options) {
    app.add_option_function<std::string>(
           "--spz-frame",
           [&options](const std::string& name) {
               options.spzFrame = name == "rub" ? SpzFrame::RightUpBack : SpzFrame::AsPly;
           },
           "How scenes lie in .spz files: ply (like PLY files, as most programs write them) or rub "
           "(right, up, back, as the format's description has it) [ply]")
        ->check(CLI::IsMember({"ply", "rub"}))
        ->type_name("FRAME");
}

void AddOutputOptions(CLI::App& app, RenderOptions& options, Arguments& arguments) {
    app.add_option("--quality", options.quality, "Of all but .png and .gif: 1 to 100")
        ->check(CLI::Range(1, kBestQuality))
        ->type_name("NUMBER")
        ->capture_default_str();
    auto* const folder =
        app.add_option("--output-dir", arguments.folder,
                       "Folder for a picture of each SCENE, named after it and its layout; it is "
                       "created")
            ->type_name("DIR");
    auto* const ending =
        app.add_option("--as", arguments.ending, "With --output-dir: ending of the names")
            ->type_name("ENDING");
    folder->needs(ending);
    ending->needs(folder);
    app.add_option("FILE", arguments.files,
                   "SCENE OUTPUT: scene to draw (" + ListOf(kReadEndings) +
                       ", known by content) and file to write (" + OutputEndings() +
                       "), the folder of which is created; with --output-dir any number of scenes")
        ->type_name("")
        ->required();
}

// Options that say nothing in the view that is asked for.
void CheckView(const CLI::App& app, const RenderOptions& options) {
    for (const char* const name : {"--general", "--focus", "--depth"}) {
        if (!options.isWindow && app.count(name) > 0) Refuse(name, "goes with --view window");
    }
    if (options.isWindow && app.count("--parallax") > 0) {
        Refuse("--parallax", "goes with --view photograph");
    }
    CheckNumber("--parallax", options.parallax, 0, 1);
    CheckNumber("--focus", options.window.focus, -100, 100);
    CheckNumber("--depth", options.window.depth, 0, 200);
}

OutputKind KindOf(const std::filesystem::path& file) {
    const std::optional<OutputKind> kind = OutputKindOf(file);
    if (!kind) Refuse(file.native(), "is no name that ends in " + OutputEndings());
    return *kind;
}

// One scene into a file of any name.
void TakeFile(const Arguments& arguments, RenderOptions& options) {
    if (arguments.files.size() != 2) Refuse("SCENE OUTPUT", "are two names without --output-dir");
    options.jobs = {{arguments.files[0], arguments.files[1]}};
    options.kind = KindOf(arguments.files[1]);
}

// Two of the kinds hold both eyes in a way of their own.
void CheckLayout(const CLI::App& app, RenderOptions& options) {
    if (options.kind == OutputKind::Mpo && app.count("--stereo") > 0) {
        Refuse("--stereo", "does not go with .mpo, which holds a picture of each eye");
    }
    if (options.kind != OutputKind::Jps) return;
    if (app.count("--stereo") == 0) options.layout = StereoLayout::SideBySide;
    if (options.layout != StereoLayout::SideBySide && options.layout != StereoLayout::Crossed) {
        Refuse("--stereo", "is sbs or crossed in .jps, which has an order of its own");
    }
    if (options.size.width % 2 != 0) Refuse("--size", "has an even width in .jps");
}

// Scenes into files of a folder.
void TakeFolder(const Arguments& arguments, RenderOptions& options) {
    const std::string ending = SmallEnding(
        "picture" + std::string(arguments.ending.starts_with('.') ? "" : ".") + arguments.ending);
    options.kind = KindOf("picture" + ending);
    options.hasFolder = true;
    std::set<std::filesystem::path> outputs;
    for (const std::string& scene : arguments.files) {
        std::filesystem::path name = std::filesystem::path(scene).stem();
        name += OutputSuffix(options, ending) + ending;
        options.jobs.push_back({scene, std::filesystem::path(arguments.folder) / name});
        if (!outputs.insert(options.jobs.back().output).second) {
            Refuse(scene, "and a scene before it would both become " +
                              options.jobs.back().output.native());
        }
    }
}

void CheckOutputs(const RenderOptions& options) {
    for (const RenderJob& written : options.jobs) {
        std::error_code ignored;
        if (!std::filesystem::exists(written.output, ignored)) continue;
        for (const RenderJob& read : options.jobs) {
            if (std::filesystem::equivalent(written.output, read.scene, ignored)) {
                Refuse(written.output.native(), "is a scene itself and would be lost");
            }
        }
    }
}

void Take(const CLI::App& app, const Arguments& arguments, RenderOptions& options) {
    options.layout = ChoiceOf<StereoLayout>(arguments.stereo, kStereoLayouts);
    options.isWindow = arguments.view == "window";
    if (app.count("--crop") > 0) options.crop = arguments.crop;
    CheckView(app, options);
    if (!arguments.sizeText.empty()) {
        const std::string wrong =
            ParsePictureSize(arguments.sizeText, 2, kLargestPictureSide, options.size);
        if (!wrong.empty()) Refuse("--size", wrong);
    }
    if (arguments.folder.empty()) {
        TakeFile(arguments, options);
    } else {
        TakeFolder(arguments, options);
    }
    CheckLayout(app, options);
    CheckSpecialOptions(app, options);
    CheckOutputs(options);
    NoteQuiltNames(options);
}

void DescribeRender(CLI::App& app, RenderOptions& options, Arguments& arguments) {
    app.name("vistrel-render");
    app.description("Draws 3D Gaussian Splat scenes as pictures and movies, for one eye or two.");
    app.footer(
        "vistrel-render scene.ply picture.png\n"
        "vistrel-render --stereo half-sbs --size 1920x1080 scene.ply television.jpg\n"
        "vistrel-render --stereo sbs one.ply two.ply --output-dir pairs --as jpg");
    app.set_version_flag("--version", "vistrel-render " VISTREL_VERSION);
    AddViewOptions(app, options, arguments);
    AddSpecialOptions(app, options);
    AddInputOptions(app, options);
    AddOutputOptions(app, options, arguments);
}

}  // namespace

ParsedOptions ParseOptions(int argc, char** argv) {
    ParsedOptions parsed;
    Arguments arguments;
    CLI::App app;
    DescribeRender(app, parsed.options, arguments);
    try {
        app.parse(argc, argv);
        Take(app, arguments, parsed.options);
    } catch (const CLI::ParseError& error) {
        parsed.status = app.exit(error) == 0 ? EXIT_SUCCESS : kWrongUsage;
    }
    return parsed;
}

void ShowRenderOptions(const std::function<void(const CLI::App& app)>& reader) {
    RenderOptions options;
    Arguments arguments;
    CLI::App app;
    DescribeRender(app, options, arguments);
    reader(app);
}

}  // namespace vistrel
