// SPDX-License-Identifier: GPL-3.0-or-later
// The package of the manifest, from the web.
#pragma once

#include <filesystem>

#include "cli/fetch/gpu_runtime.h"
#include "cli/long_step.h"

namespace vistrel {

// Fetches the package, or goes on with a fetch that broke off, and returns where it lies: beside
// RuntimeFolder(), for the caller to remove. Throws std::runtime_error where it cannot be had as
// its makers have published it.
[[nodiscard]] std::filesystem::path DownloadGpuPackage(const GpuOptions& options, LongStep& step);

}  // namespace vistrel
