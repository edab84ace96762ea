// SPDX-License-Identifier: GPL-3.0-or-later
// What the command line asks for.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "cli/convert/many_options.h"
#include "engine/execution_provider.h"
#include "formats/scene_io.h"
#include "photos/focal_length.h"

namespace CLI {
class App;
}

namespace vistrel {

struct ConvertOptions {
    enum class Task { Photograph, Scene, Many, Report };

    Task task = Task::Photograph;
    std::string model;  // empty: the one that is chosen in the window
    ExecutionProvider provider = ExecutionProvider::Cpu;
    float keepRatio = 1.0F;  // 0..1
    FocalChoice focal = {};
    bool ignoreColours = false;
    SceneWriteOptions writing = {};  // its frame is also that of SPZ files that are read
    std::string input;               // one picture or scene
    std::string output;              // the scene
    ManyOptions many = {};
};

struct ParsedConvertOptions {
    ConvertOptions options;
    std::optional<int> status;  // to end with at once; everything was said
};

// Looks at the input, which may be a scene or a photograph. Main thread.
[[nodiscard]] ParsedConvertOptions ParseConvertOptions(int argc, char** argv);

// Shows what the command understands; `app` is gone afterwards.
void ShowConvertOptions(const std::function<void(const CLI::App& app)>& reader);

}  // namespace vistrel
