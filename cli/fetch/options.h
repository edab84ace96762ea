// SPDX-License-Identifier: GPL-3.0-or-later
// What vistrel-fetch is asked for.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>

#include "cli/fetch/gpu_runtime.h"
#include "cli/fetch/model_file.h"

namespace CLI {
class App;
}

namespace vistrel {

struct FetchOptions {
    enum class Task { FetchModel, CheckModel, Gpu };
    Task task = Task::FetchModel;
    ModelFetchOptions model;
    std::filesystem::path checked;
    GpuOptions gpu;
};

struct ParsedFetchOptions {
    FetchOptions options{};
    std::optional<int> status{};  // the exit status where there is nothing to do any more
};

[[nodiscard]] ParsedFetchOptions ParseFetchOptions(int argc, const char* const* argv);

// Shows what the command understands; `app` is gone afterwards.
void ShowFetchOptions(const std::function<void(const CLI::App& app)>& reader);

}  // namespace vistrel
