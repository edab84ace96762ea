// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/render/special_pictures.h"

#include "cli/render/picture_output.h"
#include "cli/render/view.h"
#include "render/pictures/depth_map.h"

namespace vistrel {

std::vector<std::byte> DepthMapFile(SplatRenderer& renderer, const SceneFile& file,
                                    const RenderOptions& options) {
    View view = ViewOf(renderer, file, options);
    if (IsCropped(file, options)) Crop(renderer, file.scene, {view.camera}, view);
    std::vector<float> depths(static_cast<std::size_t>(view.width) *
                              static_cast<std::size_t>(view.height));
    renderer.DrawInverseDepths(file.scene, view.camera, depths);
    return EncodeDepthMap(DepthMapOf(depths, view.width, view.height));
}

std::vector<std::byte> QuiltFile(SplatRenderer& renderer, const SceneFile& file,
                                 const RenderOptions& options) {
    const QuiltShape& shape = *options.quilt;
    RenderOptions ofView = options;
    ofView.size = options.QuiltViewSize();
    View view = ViewOf(renderer, file, ofView);
    const auto depth = static_cast<double>(MiddleDepth(renderer, file.scene, view));
    const auto cameras = [&] { return QuiltCameras(view.camera, shape, options.coneAngle, depth); };
    if (IsCropped(file, options))
        Crop(renderer, file.scene, {cameras().front(), cameras().back()}, view);
    return EncodePicture(DrawQuilt(renderer, file.scene, shape, cameras(), view.style), options);
}

}  // namespace vistrel
