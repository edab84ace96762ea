// SPDX-License-Identifier: GPL-3.0-or-later
// The network's file: fetched from the hub, and compared with what the hub has.
#pragma once

#include <filesystem>
#include <string>

#include "download/model_downloader.h"

namespace vistrel {

struct ModelFetchOptions {
    std::string url = kModelUrl;
    bool fromHub = true;             // `url` is the hub's own; $HF_ENDPOINT may name another hub
    std::filesystem::path folder{};  // where the file goes; empty: the one where the window has it
    bool licenceAccepted = false;
    bool select = true;  // settings.json names the file then
};

// Fetches the file, or goes on with what an earlier call has left of it. Returns the exit status;
// throws std::runtime_error where the file could not be had. Main thread.
[[nodiscard]] int FetchModel(const ModelFetchOptions& options);

// Tells whether `file` is what the hub has. Exit status 0: it is, 1: it is not, or nobody can tell.
[[nodiscard]] int CheckModel(const ModelFetchOptions& options, const std::filesystem::path& file);

}  // namespace vistrel
