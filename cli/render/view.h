// SPDX-License-Identifier: GPL-3.0-or-later
// From where the eyes see a scene.
#pragma once

#include <vector>

#include "cli/render/options.h"
#include "render/eye_pair.h"
#include "render/gaussian_scene.h"
#include "render/pinhole_camera.h"
#include "render/scene_packing.h"
#include "render/splat_renderer.h"
#include "render/splat_style.h"
#include "render/stereo_layout.h"

namespace vistrel {

struct View {
    int width = 0;  // pixels of the whole picture
    int height = 0;
    EyeShape shape;
    PinholeCamera camera;  // in the middle of the eyes or near it; pictures of `shape`
    EyePlaces eyes;
    SplatStyle style;
    float screen = 1.0F;  // depth of what lies on the screen

    // Those that the picture is made of: left and right, or without eyes `camera` alone.
    [[nodiscard]] std::vector<PinholeCamera> Cameras(bool hasEyes) const;
};

// Whether the view moves in: where nothing else is asked for, in that of a photograph.
[[nodiscard]] bool IsCropped(const SceneFile& file, const RenderOptions& options);

// The view that the options ask for, not yet moved in. Where it is to be cropped, it is no larger
// than the photograph in any direction. Tells on standard error when the file has no camera. Throws
// std::runtime_error with the text for the user, and std::bad_alloc.
[[nodiscard]] View ViewOf(SplatRenderer& renderer, const SceneFile& file,
                          const RenderOptions& options);

// The depth between the nearest and the farthest that the view shows from which both move as far in
// the picture.
[[nodiscard]] float MiddleDepth(SplatRenderer& renderer, const GaussianScene& scene,
                                const View& view);

// Moves in by `zoom`, at least 1; the eyes come nearer to each other, so that their pictures differ
// by no larger a share than before.
void MoveIn(View& view, float zoom);

// Moves in until no picture of `cameras`, all of them with the view's focal lengths, has an empty
// border; where the scene is too small for that it tells so on standard error and leaves the view.
void Crop(SplatRenderer& renderer, const GaussianScene& scene,
          const std::vector<PinholeCamera>& cameras, View& view);

}  // namespace vistrel
