// SPDX-License-Identifier: GPL-3.0-or-later
// Moving in until a scene fills the picture.
#pragma once

#include <optional>
#include <span>

#include "render/gaussian_scene.h"
#include "render/pinhole_camera.h"
#include "render/splat_renderer.h"

namespace vistrel {

// A pixel that is covered less, in units of 1/255, counts as empty.
inline constexpr int kCovered = 128;

// Enlarges what the middle of the picture shows. Any thread, like the next.
[[nodiscard]] PinholeCamera Zoomed(const PinholeCamera& camera, float zoom);

// The same view in a picture `scale` times as large, at least a pixel on each side.
[[nodiscard]] PinholeCamera Scaled(const PinholeCamera& camera, float scale);

// The farthest that FillingZoom moves in.
inline constexpr float kMostZoom = 2.0F;

// The least zoom, 1 to kMostZoom, with which no camera's picture has a border that is empty: none
// of its edges has an empty spot that reaches 0.5 % of the picture's side into it and is as long.
// Nothing where there is no such zoom, since the scene does not fill the picture. Draws a small
// picture for each camera. Throws std::bad_alloc.
[[nodiscard]] std::optional<float> FillingZoom(SplatRenderer& renderer, const GaussianScene& scene,
                                               std::span<const PinholeCamera> cameras);

}  // namespace vistrel
