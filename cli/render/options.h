// SPDX-License-Identifier: GPL-3.0-or-later
// What the command line asks for.
#pragma once

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "cli/render/output_kind.h"
#include "cli/render/picture_size.h"
#include "formats/scene_io.h"
#include "render/camera_motion.h"
#include "render/pictures/jpeg_encoding.h"
#include "render/quilt.h"
#include "render/stereo_layout.h"
#include "render/window_view.h"

namespace CLI {
class App;
}

namespace vistrel {

inline constexpr double kUsualParallax = 1.0 / 30.0;

// How the camera moves in a movie.
struct MovieMotion {
    CameraMotion kind = CameraMotion::Sway;
    double seconds = 4.0;
    int framesPerSecond = 30;
    double amount = 0.05;  // of the way to the middle of the scene

    [[nodiscard]] int Frames() const {
        return std::max(1, static_cast<int>(std::lround(seconds * framesPerSecond)));
    }
};

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
    std::optional<bool> crop;
    PictureSize size;  // of the whole picture; 0 x 0: what suits the view
    int quality = kUsualQuality;
    SpzFrame spzFrame = SpzFrame::AsPly;
    bool hasFolder = false;  // a failure does not keep the others from being made
    std::vector<RenderJob> jobs;
    MovieMotion motion;  // of movies
    bool isDepthMap = false;
    std::optional<QuiltShape> quilt;
    double coneAngle = kUsualConeAngle;  // of a quilt, degrees

    [[nodiscard]] bool IsMovie() const {
        return kind == OutputKind::Mp4 || kind == OutputKind::Webm || kind == OutputKind::Gif;
    }

    // Of a picture in the quilt.
    [[nodiscard]] PictureSize QuiltViewSize() const {
        constexpr PictureSize kUsual = {420, 560};
        return size.width > 0 ? PictureSize{size.width / quilt->columns, size.height / quilt->rows}
                              : kUsual;
    }

    // Whether both eyes' pictures are drawn.
    [[nodiscard]] bool HasEyes() const {
        return layout != StereoLayout::None || kind == OutputKind::Mpo;
    }
};

struct ParsedOptions {
    RenderOptions options;
    std::optional<int> status;  // to end with at once; everything was said
};

// Main thread.
[[nodiscard]] ParsedOptions ParseOptions(int argc, char** argv);

// Shows what the command understands; `app` is gone afterwards.
void ShowRenderOptions(const std::function<void(const CLI::App& app)>& reader);

}  // namespace vistrel
