// SPDX-License-Identifier: GPL-3.0-or-later
// An ONNX Runtime that computes on NVIDIA's graphics cards, for this user.
#pragma once

#include <filesystem>
#include <string>

namespace vistrel {

struct GpuOptions {
    std::filesystem::path package;  // brought by hand; empty: the one that the manifest names
    std::string url;                // where else that one is to be had; empty: from its makers
    bool checkOnly = false;
    int cuda = 12;  // CUDA's major version, one for which there is a package
};

// Puts the runtime into RuntimeFolder(), unless it is only to be checked, then tells which
// libraries are missing that it needs. Returns the exit status: 0 where everything is there; throws
// std::runtime_error where the package cannot be had. Main thread.
[[nodiscard]] int FetchGpuRuntime(const GpuOptions& options);

}  // namespace vistrel
