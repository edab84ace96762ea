// SPDX-License-Identifier: GPL-3.0-or-later
// How far away the things are that a camera sees.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "render/eye_pair.h"
#include "render/gaussian_scene.h"
#include "render/pinhole_camera.h"
#include "render/splat_renderer.h"

namespace vistrel {

// A small picture of depths.
class SeenDepths {
  public:
    // Of `scene` as `camera` sees it, in some hundred columns. Takes about as long as drawing the
    // scene, and as much memory as its planes. Throws std::bad_alloc.
    SeenDepths(SplatRenderer& renderer, const GaussianScene& scene, const PinholeCamera& camera);

    // Nothing where the picture is empty. The nearest and the farthest 0.5 % of it do not count.
    [[nodiscard]] std::optional<DepthRange> Range() const;

  private:
    float farthest_ = 0.0F;             // 1 / depth where a value is 0
    float step_ = 0.0F;                 // of 1 / depth for each value
    std::vector<std::int16_t> values_;  // 0..255; kNothing where nothing is seen
};

}  // namespace vistrel
