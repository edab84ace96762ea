// SPDX-License-Identifier: GPL-3.0-or-later
// The viewer page on the command line: a scene's picture as a PNG file.
//
// Errors go to standard error. Exit status 0: the picture was written; 1: it was not, standard
// error says why; 2: wrong usage.
#include <CLI/CLI.hpp>
#include <QApplication>
#include <QMetaObject>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>

#include "base/new_file.h"
#include "base/stereo_mode.h"
#include "base/text_encoding.h"
#include "cli/command.h"
#include "cli/interrupts.h"
#include "cli/long_step.h"
#include "cli/picture_size.h"
#include "cli/snapshot/scene_file.h"
#include "cli/snapshot/scene_snapshot.h"
#include "cli/snapshot/snapshot_surroundings.h"
#include "cli/snapshot/virtual_display.h"
#include "cli/snapshot/work_folder.h"
#include "shell/start/extraction.h"
#include "viewer/scene_link.h"
#include "viewer/web_view_loader.h"

namespace vistrel {
namespace {

constexpr int kSmallestSide = 16;
constexpr int kLargestSide = 8192;

struct Options {
    std::string scene;
    std::string output;
    std::string sizeText = "1280x720";
    int seconds = 120;
    bool general = false;
    SnapshotRequest request;
};

void Save(const std::filesystem::path& output, const std::vector<std::byte>& png) {
    if (output.has_parent_path()) std::filesystem::create_directories(output.parent_path());
    if (!WriteNewFile(output, std::as_bytes(std::span(png)))) {
        throw std::runtime_error(output.native() + " could not be written");
    }
}

void Take(Options& options, const WorkFolder& folder) {
    EnvironmentFactory factory = LoadWebViewFactory();
    if (!factory) {
        throw std::runtime_error(
            "the browser view is missing: WebView2Loader.dll beside this program, and QtWebEngine");
    }
    options.request.pageFolder = FromPath(folder.Path());
    if (!ExtractWebPage(options.request.pageFolder)) {
        throw std::runtime_error("the viewer page could not be written to " +
                                 folder.Path().native());
    }
    SceneLink link(options.request.pageFolder);
    options.request.scene = link.PathFor(FromPath(AbsoluteScene(options.scene)));
    options.request.sharp = !options.general;
    options.request.timeout = std::chrono::seconds(options.seconds);
    std::vector<std::byte> picture;
    try {
        picture = TakeSnapshot(options.request, std::move(factory));
    } catch (const std::runtime_error& error) {
        throw std::runtime_error("no picture of " + options.scene + ": " + error.what());
    }
    Save(options.output, picture);
}

// The signal that came meanwhile, 0 for none.
int TakeUnlessInterrupted(Interrupts& interrupts, QApplication& application, Options& options,
                          const WorkFolder& folder) {
    std::atomic<int> signal = 0;
    std::thread watcher([&] {
        LongStep step;
        step.Begin("Drawing the picture\u2026");
        int event = Interrupts::kTimeout;
        while ((event = interrupts.Wait(LongStep::kTick)) == Interrupts::kTimeout) step.Tick();
        signal = event;
        QMetaObject::invokeMethod(&application, [] { QCoreApplication::exit(); });
    });
    std::exception_ptr failure;
    try {
        Take(options, folder);
    } catch (const std::exception&) {
        failure = std::current_exception();
    }
    interrupts.Wake();
    watcher.join();
    if (failure && signal == 0) std::rethrow_exception(failure);
    return signal;
}

// Everything that it makes is gone when it returns.
int RunInSurroundings(char* program, Options& options) {
    CheckScene(options.scene);
    RefuseFolder(options.output);
    CheckSandbox();
    std::optional<VirtualDisplay> display;
    if (!HasDisplay()) display.emplace(options.request.size);
    Interrupts interrupts;
    const WorkFolder folder;
    PrepareApplication(folder.Path());
    // Qt and the browser have options of their own, which are none of ours.
    int argc = 1;
    std::array<char*, 2> argv = {program, nullptr};
    QApplication application(argc, argv.data());
    return TakeUnlessInterrupted(interrupts, application, options, folder);
}

std::string StereoModeHelp() {
    std::string help = "Stereo mode:";
    for (std::size_t mode = 0; mode < kStereoModeNames.size(); ++mode) {
        help += (mode == 0 ? " " : ", ") + std::to_string(mode) + ' ';
        help += kStereoModeNames[mode];
    }
    return help;
}

void AddOptions(CLI::App& app, Options& options) {
    SnapshotRequest& request = options.request;
    app.set_version_flag("--version", "vistrel-snapshot " VISTREL_VERSION);
    app.add_option("--mode", request.mode, StereoModeHelp())
        ->check(CLI::Range(0, kStereoModeCount - 1))
        ->capture_default_str();
    app.add_flag("--general", options.general, "For scenes that Vistrel has not made");
    app.add_flag("--swap", request.swap, "Exchange left and right");
    app.add_option("--focus", request.focus, "-100 to 100")->capture_default_str();
    app.add_option("--depth", request.depth, "0 to 200")->capture_default_str();
    app.add_option("--size", options.sizeText, "Width and height of the picture in pixels")
        ->capture_default_str();
    app.add_option("--timeout", options.seconds, "Seconds after which to give up")
        ->check(CLI::Range(1, 86400))
        ->capture_default_str();
    app.add_option("SCENE", options.scene, "Scene to show: " + SceneEndings())->required();
    app.add_option("OUTPUT", options.output, "PNG file to write; its folder is created")
        ->required();
}

void CheckNumbers(Options& options) {
    const auto check = [](const char* name, double value, double least, double most) {
        if (value >= least && value <= most) return;  // not a number is neither
        throw CLI::ValidationError(name, "is a number from " + std::to_string(std::lround(least)) +
                                             " to " + std::to_string(std::lround(most)));
    };
    check("--focus", options.request.focus, -100, 100);
    check("--depth", options.request.depth, 0, 200);
    const std::string wrong =
        ParsePictureSize(options.sizeText, kSmallestSide, kLargestSide, options.request.size);
    if (!wrong.empty()) throw CLI::ValidationError("--size", wrong);
}

int Main(int argc, char** argv) {
    Options options;
    CLI::App app("Shows a 3D Gaussian Splat scene and saves the picture (PNG).",
                 "vistrel-snapshot");
    AddOptions(app, options);
    try {
        app.parse(argc, argv);
        CheckNumbers(options);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? EXIT_SUCCESS : kWrongUsage;
    }
    std::error_code ignored;
    if (std::filesystem::equivalent(options.output, options.scene, ignored)) {
        Tell("OUTPUT would overwrite SCENE.");
        return kWrongUsage;
    }

    if (const int signal = RunInSurroundings(argv[0], options)) Interrupts::DieOf(signal);
    return EXIT_SUCCESS;
}

}  // namespace
}  // namespace vistrel

int main(int argc, char** argv) {
    return vistrel::RunCommand([&] { return vistrel::Main(argc, argv); });
}
