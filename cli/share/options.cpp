// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/share/options.h"

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <system_error>

#include "base/scene_kind.h"
#include "cli/command.h"
#include "cli/share/byte_size.h"
#include "formats/scene_formats.h"

namespace vistrel {
namespace {

// As the command line has it.
struct ShareArguments {
    std::string title;
    std::string spzFrame = "ply";
    std::string sizeLimit;
    std::string scene;
    std::string output;
};

void DescribeShare(CLI::App& app, ShareOptions& options, ShareArguments& arguments) {
    app.name("vistrel-share");
    app.description(
        "Puts a 3D Gaussian Splat scene into one HTML file that shows it in any browser, from the "
        "disk or from a server.");
    app.footer(
        "vistrel-share scene.ply scene.html\n"
        "vistrel-share --size-limit 10MB --poster --title \"By the lake\" lake.spz lake.html");
    app.set_version_flag("--version", "vistrel-share " VISTREL_VERSION);
    app.add_option("--title", arguments.title,
                   "Name that the page shows; if not given, that of the scene's file")
        ->type_name("TEXT");
    app.add_option("--keep-ratio", options.keepRatio,
                   "Share of the Gaussians to keep; a photograph's are thinned evenly and grow")
        ->capture_default_str();
    app.add_option("--size-limit", arguments.sizeLimit,
                   "Keep as many Gaussians as a page of this size has room for, such as 10MB")
        ->type_name("SIZE");
    app.add_flag("--poster", options.hasPoster,
                 "Add a picture that shows at once, until the scene does");
    app.add_flag("--free", options.isFree,
                 "Let viewers turn and move also to where the scene looks broken");
    app.add_option("--spz-frame", arguments.spzFrame,
                   "How a scene lies in an SPZ file: ply (as in a PLY file) or rub (y up, z "
                   "backward)")
        ->check(CLI::IsMember({"ply", "rub"}))
        ->type_name("FRAME")
        ->capture_default_str();
    app.add_option("SCENE", arguments.scene, "Scene to share: " + ListOf(kReadEndings))
        ->type_name("")
        ->required();
    app.add_option("OUTPUT", arguments.output,
                   "Page to write (.html or .htm), its folder is created")
        ->type_name("")
        ->required();
}

std::string TitleOf(const std::filesystem::path& scene) {
    std::filesystem::path name = scene.stem();
    if (SmallEnding(name) == ".compressed") name = name.stem();
    return name.native();
}

void TakeShare(const CLI::App& app, const ShareArguments& arguments, ShareOptions& options) {
    options.scene = arguments.scene;
    options.output = arguments.output;
    options.title = app.count("--title") > 0 ? arguments.title : TitleOf(options.scene);
    options.spzFrame = arguments.spzFrame == "rub" ? SpzFrame::RightUpBack : SpzFrame::AsPly;
    if (!(options.keepRatio >= 0.0F && options.keepRatio <= 1.0F)) {  // also not a number
        throw CLI::ValidationError("--keep-ratio", "is a number from 0 to 1");
    }
    if (app.count("--size-limit") > 0) {
        options.sizeLimit = ParseByteSize(arguments.sizeLimit);
        if (!options.sizeLimit) {
            throw CLI::ValidationError(
                "--size-limit",
                std::string("is a number with ") + kByteSizeUnits + " behind it, up to 1000 GiB");
        }
    }
    const std::string ending = SmallEnding(options.output);
    if (ending != ".html" && ending != ".htm") {
        throw CLI::ValidationError(options.output.native(),
                                   "is no name that ends in .html or .htm");
    }
    std::error_code ignored;
    if (std::filesystem::equivalent(options.output, options.scene, ignored)) {
        throw CLI::ValidationError(options.output.native(),
                                   "is the scene itself and would be lost");
    }
}

}  // namespace

ParsedShareOptions ParseShareOptions(int argc, char** argv) {
    ParsedShareOptions parsed;
    ShareArguments arguments;
    CLI::App app;
    DescribeShare(app, parsed.options, arguments);
    try {
        app.parse(argc, argv);
        TakeShare(app, arguments, parsed.options);
    } catch (const CLI::ParseError& error) {
        parsed.status = app.exit(error) == 0 ? EXIT_SUCCESS : kWrongUsage;
    }
    return parsed;
}

void ShowShareOptions(const std::function<void(const CLI::App& app)>& reader) {
    ShareOptions options;
    ShareArguments arguments;
    CLI::App app;
    DescribeShare(app, options, arguments);
    reader(app);
}

}  // namespace vistrel
