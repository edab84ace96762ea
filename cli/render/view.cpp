// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/render/view.h"

#include <algorithm>
#include <stdexcept>

#include "cli/command.h"
#include "render/framing.h"
#include "render/seen_depths.h"
#include "render/window_view.h"

namespace vistrel {
namespace {

constexpr int kWindowWidth = 1280;
constexpr int kWindowHeight = 720;

// Nearly `width` x `height` pixels, or less where that is too much for a movie to play well.
WholeSize UsualEye(const RenderOptions& options, int width, int height) {
    constexpr float kMostOfGif = 640.0F;
    constexpr float kMostOfMovie = 1920.0F;
    constexpr int kPngColumns = 8;  // what PNG tells of pairs is for multiples of it
    const bool isPair =
        options.layout == StereoLayout::SideBySide || options.layout == StereoLayout::Crossed;
    if (options.kind == OutputKind::Png && isPair && width > kPngColumns)
        width -= width % kPngColumns;
    if (!options.IsMovie()) return {width, height};
    const float most = options.kind == OutputKind::Gif ? kMostOfGif : kMostOfMovie;
    const float scale = std::min(1.0F, most / static_cast<float>(std::max(width, height)));
    // Even, as movies want it.
    const auto side = [scale](int pixels) {
        return 2 * std::max(1, static_cast<int>(0.5F * scale * static_cast<float>(pixels)));
    };
    return {side(width), side(height)};
}

void SetSize(View& view, const RenderOptions& options, WholeSize usual) {
    const bool isGiven = options.size.width > 0;
    view.width = isGiven ? options.size.width : usual.width;
    view.height = isGiven ? options.size.height : usual.height;
    if (std::max(view.width, view.height) > kLargestPictureSide) {
        throw std::runtime_error("the photograph's own size is too large, give a --size");
    }
    view.shape = EyeShapeOf(options.layout, view.width, view.height);
}

View WindowsView(const RenderOptions& options) {
    View view;
    SetSize(view, options, UsualEye(options, kWindowWidth, kWindowHeight));
    view.camera = WindowCamera(options.window, view.shape, view.width, view.height);
    view.eyes = WindowEyes(options.window, view.shape, view.width, view.height);
    view.style = kWindowStyle;
    return view;
}

// Moved in as far as the picture has parts that lie beside the photograph.
PinholeCamera WithinPhotograph(const PinholeCamera& camera, const PhotographCamera& photograph) {
    const float across = static_cast<float>(camera.width) / static_cast<float>(photograph.width);
    const float down = static_cast<float>(camera.height) / static_cast<float>(photograph.height);
    return Zoomed(camera, std::max(across, down) / std::min(across, down));
}

// A camera with square pixels in an eye's picture of `shape`.
PinholeCamera Narrowed(PinholeCamera camera, const EyeShape& shape) {
    camera.focalY *= static_cast<float>(shape.narrow);
    camera.centreY *= static_cast<float>(shape.narrow);
    camera.height = shape.height;
    return camera;
}

// A scene without a photograph has no camera of its own: it is seen as the window shows it first.
PinholeCamera CameraOf(const SceneFile& file, const RenderOptions& options, int width, int height) {
    if (file.camera) {
        const PinholeCamera camera = FitCamera(*file.camera, width, height);
        return IsCropped(file, options) ? WithinPhotograph(camera, *file.camera) : camera;
    }
    return WindowCamera({.general = true}, {.width = width, .height = height}, width, height);
}

View PhotographView(SplatRenderer& renderer, const SceneFile& file, const RenderOptions& options) {
    View view;
    const auto side = [](std::uint32_t pixels) {
        return static_cast<int>(std::min<std::uint32_t>(pixels, kLargestPictureSide + 1));
    };
    const int usualWidth = file.camera ? side(file.camera->width) : kWindowWidth;
    const int usualHeight = file.camera ? side(file.camera->height) : kWindowHeight;
    const WholeSize usual = UsualEye(options, usualWidth, usualHeight);
    SetSize(view, options, WholeSizeOf(options.layout, usual.width, usual.height));
    const int square = (view.shape.height + view.shape.narrow - 1) / view.shape.narrow;
    view.camera = Narrowed(CameraOf(file, options, view.shape.width, square), view.shape);
    if (!options.HasEyes()) return view;
    const auto depths = SeenDepths(renderer, file.scene, view.camera);
    if (!depths) return view;
    view.screen = depths->nearest;
    view.eyes = ComfortableEyes(view.camera, *depths, static_cast<float>(options.parallax));
    return view;
}

}  // namespace

std::vector<PinholeCamera> View::Cameras(bool hasEyes) const {
    if (!hasEyes) return {camera};
    return {EyeAt(camera, eyes.left), EyeAt(camera, eyes.right)};
}

bool IsCropped(const SceneFile& file, const RenderOptions& options) {
    return options.crop.value_or(!options.isWindow && file.camera.has_value());
}

View ViewOf(SplatRenderer& renderer, const SceneFile& file, const RenderOptions& options) {
    if (options.isWindow) return WindowsView(options);
    if (!file.camera) {
        Tell(
            "Note: the scene does not tell its photograph's camera; it is seen from the window's.");
    }
    return PhotographView(renderer, file, options);
}

float MiddleDepth(SplatRenderer& renderer, const GaussianScene& scene, const View& view) {
    const auto depths = SeenDepths(renderer, scene, view.camera);
    return depths ? 2.0F / (1.0F / depths->nearest + 1.0F / depths->farthest) : 1.0F;
}

void MoveIn(View& view, float zoom) {
    view.camera = Zoomed(view.camera, zoom);
    // The offsets shrink, and what they shift the pictures by grows with the zoom again.
    for (EyePlace* const eye : {&view.eyes.left, &view.eyes.right}) eye->offset /= zoom;
}

void Crop(SplatRenderer& renderer, const GaussianScene& scene,
          const std::vector<PinholeCamera>& cameras, View& view) {
    const std::optional<float> zoom = FillingZoom(renderer, scene, cameras);
    if (zoom) {
        MoveIn(view, *zoom);
    } else {
        Tell("Note: the scene does not fill the picture, which is therefore not cropped.");
    }
}

}  // namespace vistrel
