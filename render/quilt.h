// SPDX-License-Identifier: GPL-3.0-or-later
// Many views in one picture, for displays behind lenses.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "render/gaussian_scene.h"
#include "render/picture.h"
#include "render/pinhole_camera.h"
#include "render/splat_renderer.h"

namespace vistrel {

struct QuiltShape {
    int columns = 8;
    int rows = 6;

    [[nodiscard]] int Views() const { return columns * rows; }
};

inline constexpr double kUsualConeAngle = 40.0;  // degrees
inline constexpr double kWidestConeAngle = 120.0;

// The cameras of the views from left to right. Seen from the point at `depth` on the camera's axis
// they stand in equal steps within a cone of `degrees`. All look in the same direction, so that
// what lies at that depth is at the same place in all views. `depth` is positive; `degrees` above 0
// and at most kWidestConeAngle. Any thread, like all below.
[[nodiscard]] std::vector<PinholeCamera> QuiltCameras(const PinholeCamera& camera,
                                                      const QuiltShape& shape, double degrees,
                                                      double depth);

// One picture of all views, the first in the lower left corner, the second right of it. Throws
// std::invalid_argument where the cameras are not those of such a quilt or the picture would be
// larger than one may be, and std::bad_alloc.
[[nodiscard]] Picture DrawQuilt(SplatRenderer& renderer, const GaussianScene& scene,
                                const QuiltShape& shape, std::span<const PinholeCamera> cameras,
                                const SplatStyle& style = {});

// What tells players how a quilt lies, at the end of its name: "_qs8x6a0.75", where 0.75 is how
// many times as wide as high a view is.
[[nodiscard]] std::string QuiltSuffix(const QuiltShape& shape, int viewWidth, int viewHeight);

}  // namespace vistrel
