// SPDX-License-Identifier: GPL-3.0-or-later
// What the command line asks for.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "formats/scene_io.h"

namespace CLI {
class App;
}

namespace vistrel {

struct ShareOptions {
    std::filesystem::path scene;
    std::filesystem::path output;
    std::string title;
    bool hasPoster = false;
    bool isFree = false;
    SpzFrame spzFrame = SpzFrame::AsPly;     // of the scene, where it is an SPZ file
    float keepRatio = 1.0F;                  // 0..1
    std::optional<std::uint64_t> sizeLimit;  // bytes of the page
};

struct ParsedShareOptions {
    ShareOptions options;
    std::optional<int> status;  // to end with at once; everything was said
};

// Main thread.
[[nodiscard]] ParsedShareOptions ParseShareOptions(int argc, char** argv);

// Shows what the command understands; `app` is gone afterwards.
void ShowShareOptions(const std::function<void(const CLI::App& app)>& reader);

}  // namespace vistrel
