// SPDX-License-Identifier: GPL-3.0-or-later
// How far away the things are that a camera sees.
#pragma once

#include <optional>

#include "render/eye_pair.h"
#include "render/gaussian_scene.h"
#include "render/pinhole_camera.h"
#include "render/splat_renderer.h"

namespace vistrel {

// Of `scene` as `camera` sees it, but for the nearest and the farthest 0.5 % of what is seen;
// nothing where nothing is seen. Draws a small picture. Throws std::bad_alloc.
[[nodiscard]] std::optional<DepthRange> SeenDepths(SplatRenderer& renderer,
                                                   const GaussianScene& scene,
                                                   const PinholeCamera& camera);

}  // namespace vistrel
