// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/render/special_options.h"

#include <CLI/CLI.hpp>
#include <cstdio>

#include "cli/command.h"
#include "cli/render/choices.h"
#include "cli/render/wrong_usage.h"

namespace vistrel {
namespace {

constexpr double kLongestMovie = 600.0;  // seconds
constexpr int kMostFramesPerSecond = 120;
constexpr int kMostGifFrames = 50;  // frames per second; its players take no shorter time
constexpr int kMostViews = 32;      // along a side of a quilt

// What is wrong with it; nothing if it is fine.
std::string ParseQuilt(const std::string& text, std::optional<QuiltShape>& shape) {
    QuiltShape parsed;
    char end = '\0';
    const int found = std::sscanf(text.c_str(), "%3dx%3d%c", &parsed.columns, &parsed.rows, &end);
    const auto fits = [](int views) { return views >= 1 && views <= kMostViews; };
    if (found != 2 || !fits(parsed.columns) || !fits(parsed.rows)) {
        return "a quilt is two numbers of 1 to " + std::to_string(kMostViews) + ", such as 8x6";
    }
    shape = parsed;
    return "";
}

void CheckMovie(const CLI::App& app, const RenderOptions& options) {
    for (const char* const name : {"--motion", "--seconds", "--fps", "--amount"}) {
        if (!options.IsMovie() && app.count(name) > 0) Refuse(name, "goes with .mp4, .webm, .gif");
    }
    const MovieMotion& motion = options.motion;
    if (!(motion.seconds > 0.0 && motion.seconds <= kLongestMovie)) {
        Refuse("--seconds", "is a number above 0 and up to 600");
    }
    if (!(motion.amount >= 0.0 && motion.amount <= static_cast<double>(kMostMotion))) {
        Refuse("--amount", "is a number from 0 to 0.5");
    }
    if (options.kind == OutputKind::Gif) {
        if (motion.framesPerSecond > kMostGifFrames) Refuse("--fps", "is at most 50 in .gif");
    } else if (options.IsMovie() && (options.size.width % 2 != 0 || options.size.height % 2 != 0)) {
        Refuse("--size", "has even sides in movies");
    }
}

void CheckDepthMap(const CLI::App& app, const RenderOptions& options) {
    if (!options.isDepthMap) return;
    if (options.kind != OutputKind::Png) Refuse("--depth-map", "is a .png");
    for (const char* const other : {"--stereo", "--quilt"}) {
        if (app.count(other) > 0) Refuse("--depth-map", std::string("does not go with ") + other);
    }
}

void CheckQuilt(const CLI::App& app, const RenderOptions& options) {
    if (!options.quilt) {
        if (app.count("--angle") > 0) Refuse("--angle", "goes with --quilt");
        return;
    }
    if (app.count("--stereo") > 0) Refuse("--quilt", "does not go with --stereo");
    const bool isPicture = options.kind == OutputKind::Png || options.kind == OutputKind::Jpeg ||
                           options.kind == OutputKind::Webp;
    if (!isPicture) Refuse("--quilt", "is a .png, .jpg or .webp");
    if (!(options.coneAngle > 0.0 && options.coneAngle <= kWidestConeAngle)) {
        Refuse("--angle", "is a number above 0 and up to 120");
    }
    const QuiltShape& shape = *options.quilt;
    if (options.size.width % shape.columns != 0 || options.size.height % shape.rows != 0) {
        Refuse("--size", "is a whole number of times --quilt in both directions");
    }
}

}  // namespace

void AddSpecialOptions(CLI::App& app, RenderOptions& options) {
    app.add_option_function<std::string>(
           "--motion",
           [&options](const std::string& name) {
               options.motion.kind = ChoiceOf<CameraMotion>(name, kCameraMotions);
           },
           HelpOf("How the camera of a movie moves, so that the end leads into the beginning:",
                  kCameraMotions))
        ->check(CLI::IsMember(NamesOf(kCameraMotions)))
        ->type_name("MOTION")
        ->default_str("sway");
    app.add_option("--seconds", options.motion.seconds, "How long a movie is")
        ->type_name("NUMBER")
        ->capture_default_str();
    app.add_option("--fps", options.motion.framesPerSecond, "Frames of a movie in each second")
        ->check(CLI::Range(1, kMostFramesPerSecond))
        ->type_name("NUMBER")
        ->capture_default_str();
    app.add_option("--amount", options.motion.amount,
                   "How far the camera of a movie moves, as a share of the way to the middle of "
                   "the scene: up to 0.5")
        ->type_name("NUMBER")
        ->capture_default_str();
    app.add_flag(
        "--depth-map", options.isDepthMap,
        "Write depths in place of colours: a .png of 16 bits, near is bright, its scale in "
        "a text in the file");
    app.add_option_function<std::string>(
           "--quilt", [](const std::string&) {},
           "Views from left to right in one picture, for displays behind lenses: columns and rows "
           "of views, the first in the lower left; --size is that of all, if not given each has "
           "420x560")
        ->check([&options](const std::string& text) { return ParseQuilt(text, options.quilt); })
        ->type_name("CxR");
    app.add_option("--angle", options.coneAngle, "Of the cone that a quilt's views lie in, degrees")
        ->type_name("NUMBER")
        ->capture_default_str();
}

void CheckSpecialOptions(const CLI::App& app, const RenderOptions& options) {
    CheckMovie(app, options);
    CheckDepthMap(app, options);
    CheckQuilt(app, options);
}

void NoteQuiltNames(const RenderOptions& options) {
    if (!options.quilt) return;
    const PictureSize view = options.QuiltViewSize();
    const std::string suffix = QuiltSuffix(*options.quilt, view.width, view.height);
    for (const RenderJob& job : options.jobs) {
        if (job.output.stem().native().ends_with(suffix)) continue;
        Tell("Note: players read from the name how a quilt lies; this one's should end in " +
             suffix + job.output.extension().native() + ".");
    }
}

std::string OutputSuffix(const RenderOptions& options, std::string_view ending) {
    if (options.isDepthMap) return "_depth";
    if (!options.quilt) return std::string(LayoutSuffix(options.layout, ending));
    const PictureSize view = options.QuiltViewSize();
    return QuiltSuffix(*options.quilt, view.width, view.height);
}

}  // namespace vistrel
