// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/fetch/options.h"

#include <CLI/CLI.hpp>
#include <cstdlib>

#include "cli/command.h"

namespace vistrel {
namespace {

void DescribeModel(CLI::App& app, ModelFetchOptions& options) {
    app.add_option("--to", options.folder, "Folder for the file [~/.local/share/Vistrel/Models]")
        ->type_name("DIR");
    app.add_option("--url", options.url, "Where the file is to be had")
        ->type_name("ADDRESS")
        ->capture_default_str();
    app.add_flag("--accept-licence", options.licenceAccepted,
                 "Agree to the licence of the weights, which is shown and asked about otherwise");
    app.add_flag_callback(
        "--no-select", [&options] { options.select = false; },
        "Leave the choice of the network, which the window shows, as it is");
    app.footer(
        "In the environment, HF_ENDPOINT names another hub, HF_TOKEN tells the hub, and nobody\n"
        "else, who asks, https_proxy names a proxy, SSL_CERT_FILE the certificates to trust.");
}

void DescribeGpu(CLI::App& app, GpuOptions& options) {
    auto* from = app.add_option("--from", options.package,
                                "The package, brought by hand: .tgz, .nupkg, .whl, or a folder")
                     ->check(CLI::ExistingPath)
                     ->type_name("FILE");
    auto* url = app.add_option("--url", options.url, "Where else the package is to be had")
                    ->type_name("ADDRESS");
    app.add_flag("--check", options.checkOnly, "Only tell what is missing")
        ->excludes(from)
        ->excludes(url);
    app.add_option("--cuda", options.cuda, "Major version of CUDA")
        ->check(CLI::IsMember({12}))
        ->excludes(from->excludes(url))
        ->capture_default_str();
}

void DescribeFetch(CLI::App& app, FetchOptions& options) {
    app.name("vistrel-fetch");
    app.description(
        "Fetches what Vistrel needs and does not bring: the network, and what graphics cards "
        "need.");
    app.footer(
        "vistrel-fetch model\n"
        "vistrel-fetch --check sharp_fp16.onnx\n"
        "vistrel-fetch gpu --check");
    app.set_version_flag("--version", "vistrel-fetch " VISTREL_VERSION);
    app.add_option("--check", options.checked, "Tell whether FILE is the network, whole")
        ->type_name("FILE");
    DescribeModel(
        *app.add_subcommand("model", "Fetch the network, or go on with a fetch that broke off"),
        options.model);
    DescribeGpu(*app.add_subcommand("gpu", "Fetch an ONNX Runtime for NVIDIA's graphics cards"),
                options.gpu);
    app.require_subcommand(0, 1);
}

// What is asked for, once `app` has parsed.
void TakeFetch(const CLI::App& app, FetchOptions& options) {
    if (app.count("--check") > 0) options.task = FetchOptions::Task::CheckModel;
    if (app.got_subcommand("gpu")) options.task = FetchOptions::Task::Gpu;
    if (app.count("--check") == 0 && app.get_subcommands().empty()) {
        throw CLI::RequiredError("model, gpu or --check");
    }
    options.model.fromHub = app.get_subcommand("model")->count("--url") == 0;
}

}  // namespace

ParsedFetchOptions ParseFetchOptions(int argc, const char* const* argv) {
    ParsedFetchOptions parsed;
    CLI::App app;
    DescribeFetch(app, parsed.options);
    try {
        app.parse(argc, argv);
        TakeFetch(app, parsed.options);
    } catch (const CLI::ParseError& error) {
        parsed.status = app.exit(error) == EXIT_SUCCESS ? EXIT_SUCCESS : kWrongUsage;
    }
    return parsed;
}

void ShowFetchOptions(const std::function<void(const CLI::App& app)>& reader) {
    FetchOptions options;
    CLI::App app;
    DescribeFetch(app, options);
    reader(app);
}

}  // namespace vistrel
