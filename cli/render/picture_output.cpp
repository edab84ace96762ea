// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/render/picture_output.h"

#include <stdexcept>
#include <system_error>
#include <utility>

#include "base/new_file.h"
#include "render/pictures/jpeg_encoding.h"
#include "render/pictures/png_encoding.h"
#include "render/pictures/webp_encoding.h"

namespace vistrel {
namespace {

std::optional<PngStereo> PngStereoOf(StereoLayout layout) {
    if (layout == StereoLayout::SideBySide) return PngStereo::LeftEyeLeft;
    if (layout == StereoLayout::Crossed) return PngStereo::RightEyeLeft;
    return std::nullopt;
}

}  // namespace

EyePictures DrawEyes(SplatRenderer& renderer, const GaussianScene& scene, const View& view,
                     const RenderOptions& options) {
    const std::vector<PinholeCamera> cameras = view.Cameras(options.HasEyes());
    EyePictures eyes;
    eyes.left = Picture(view.shape.width, view.shape.height);
    if (cameras.size() == 1) {
        renderer.Draw(scene, cameras[0], eyes.left.Target(), view.style);
        return eyes;
    }
    eyes.right = Picture(view.shape.width, view.shape.height);
    renderer.DrawPair(scene, cameras[0], eyes.left.Target(), cameras[1], eyes.right.Target(),
                      view.style);
    if (options.swap) std::swap(eyes.left, eyes.right);
    return eyes;
}

Picture WholeOf(const EyePictures& eyes, const View& view, const RenderOptions& options) {
    return Combined(options.layout, eyes.left, eyes.right, view.width, view.height);
}

std::vector<std::byte> EncodePicture(const Picture& whole, const RenderOptions& options) {
    switch (options.kind) {
        case OutputKind::Png:
            return EncodePng(whole, {.stereo = PngStereoOf(options.layout)});
        case OutputKind::Jpeg:
            return EncodeJpeg(whole, options.quality);
        case OutputKind::Webp:
            return EncodeWebp(whole, options.quality);
        default:
            throw std::runtime_error("nothing is made of this kind");
    }
}

std::vector<std::byte> EncodeEyes(const EyePictures& eyes, const View& view,
                                  const RenderOptions& options) {
    switch (options.kind) {
        case OutputKind::Jps:
            return EncodeJps(eyes, options.quality);
        case OutputKind::Mpo:
            return EncodeMpo(eyes, view.eyes.right.offset - view.eyes.left.offset, options.quality);
        default:
            return EncodePicture(WholeOf(eyes, view, options), options);
    }
}

void WriteOutput(const std::filesystem::path& output, std::span<const std::byte> bytes) {
    try {
        NewFile file(output);
        file.Append(bytes);
        file.Commit();
    } catch (const std::system_error& failure) {
        throw std::runtime_error(output.native() +
                                 " could not be written: " + failure.code().message());
    }
}

}  // namespace vistrel
