// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/fetch/options.h"

#include <CLI/CLI.hpp>
#include <cstdlib>

#include "cli/command.h"

namespace vistrel {
namespace {

void DescribeModel(CLI::App& app, ModelFetchOptions& options) {
    app.add_option("--to", options.folder, "Folder for the file [~/.local/share/Vistrel/Models]");
    app.add_option("--url", options.url, "Where the file is to be had")->capture_default_str();
    app.add_flag("--accept-licence", options.licenceAccepted,
                 "Agree to the licence of the weights, which is shown and asked about otherwise");
    app.add_flag("!--no-select", options.select,
                 "Leave the choice of the network, which the window shows, as it is");
}

void DescribeGpu(CLI::App& app, GpuOptions& options) {
    auto* from = app.add_option("--from", options.package,
                                "The package, brought by hand: .tgz, .nupkg, .whl, or a folder")
                     ->check(CLI::ExistingPath);
    auto* url = app.add_option("--url", options.url, "Where else the package is to be had");
    app.add_flag("--check", options.checkOnly, "Only tell what is missing")
        ->excludes(from)
        ->excludes(url);
    app.add_option("--cuda", options.cuda, "Major version of CUDA")
        ->check(CLI::IsMember({12}))
        ->excludes(from->excludes(url))
        ->capture_default_str();
}

}  // namespace

ParsedFetchOptions ParseFetchOptions(int argc, const char* const* argv) {
    ParsedFetchOptions parsed;
    FetchOptions& options = parsed.options;
    CLI::App app(
        "Fetches what Vistrel needs and does not bring: the network, and what graphics cards need.",
        "vistrel-fetch");
    app.set_version_flag("--version", "vistrel-fetch " VISTREL_VERSION);
    auto* check =
        app.add_option("--check", options.checked, "Tell whether FILE is the network, whole");
    auto* model =
        app.add_subcommand("model", "Fetch the network, or go on with a fetch that broke off");
    DescribeModel(*model, options.model);
    auto* gpu = app.add_subcommand("gpu", "Fetch an ONNX Runtime for NVIDIA's graphics cards");
    DescribeGpu(*gpu, options.gpu);
    app.require_subcommand(0, 1);
    try {
        app.parse(argc, argv);
        if (check->count() > 0) options.task = FetchOptions::Task::CheckModel;
        if (gpu->parsed()) options.task = FetchOptions::Task::Gpu;
        if (check->count() == 0 && app.get_subcommands().empty()) {
            throw CLI::RequiredError("model, gpu or --check");
        }
        options.model.fromHub = model->count("--url") == 0;
    } catch (const CLI::ParseError& error) {
        parsed.status = app.exit(error) == EXIT_SUCCESS ? EXIT_SUCCESS : kWrongUsage;
    }
    return parsed;
}

}  // namespace vistrel
