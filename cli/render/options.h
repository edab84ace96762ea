// SPDX-License-Identifier: GPL-3.0-or-later
// What the command line asks for.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "cli/picture_size.h"
#include "cli/render/output_kind.h"
#include "render/pictures/jpeg_encoding.h"
#include "render/stereo_layout.h"
#include "render/window_view.h"

namespace vistrel {

inline constexpr double kUsualParallax = 1.0 / 30.0;

// A scene and what is made of it.
struct RenderJob {
    std::filesystem::path scene;
    std::filesystem::path output;
};

struct RenderOptions {
    OutputKind kind = OutputKind::Png;  // of all outputs
    StereoLayout layout = StereoLayout::None;
    bool isWindow = false;  // the window's view, not the photograph's
    WindowView window;
    bool swap = false;
    double parallax = kUsualParallax;  // 0..1, of an eye's width
    bool crop = true;
    PictureSize size;  // of the whole picture; 0 x 0: what suits the view
    int quality = kUsualQuality;
    bool hasFolder = false;  // a failure does not keep the others from being made
    std::vector<RenderJob> jobs;
};

struct ParsedOptions {
    RenderOptions options;
    std::optional<int> status;  // to end with at once; everything was said
};

// Main thread.
[[nodiscard]] ParsedOptions ParseOptions(int argc, char** argv);

}  // namespace vistrel
