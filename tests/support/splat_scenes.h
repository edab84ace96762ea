// SPDX-License-Identifier: GPL-3.0-or-later
// Scenes of many Gaussians, seen by a photograph's camera of 1600 x 1200 pixels at the origin.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "render/gaussian_packing.h"
#include "render/gaussian_scene.h"
#include "render/pinhole_camera.h"

namespace vistrel::test {

// The camera, for a picture of `width` x `height` pixels.
[[nodiscard]] PinholeCamera SceneCamera(int width, int height);

// Moves the camera sideways by `offset` (to the right where positive) and turns it about the
// vertical, so that it looks at the point `distance` straight ahead of where it was.
void ShiftSideways(PinholeCamera& camera, float offset, float distance);

// Two layers of `side` x `side` Gaussians: surfaces that are hilly, tilted and torn where one thing
// stands before another. The Gaussians are flat and nearly opaque and touch their neighbours.
[[nodiscard]] std::vector<RawGaussian> ReliefGaussians(int side);

// The same number around such surfaces, thrown about in size, direction, depth and opacity, so that
// many lie over each other, as in what a network makes.
[[nodiscard]] std::vector<RawGaussian> OverlappingGaussians(int side);

// `count` needles in all directions, 30 times as long as they are thick.
[[nodiscard]] std::vector<RawGaussian> NeedleGaussians(int count);

// `count` large, faint ones, none with an opacity above 0.1.
[[nodiscard]] std::vector<RawGaussian> FaintGaussians(int count);

// `count` of all kinds: behind the camera, almost in it, huge, tiny, far aside, too bright.
[[nodiscard]] std::vector<RawGaussian> WildGaussians(int count);

// As a scene without harmonics.
[[nodiscard]] GaussianScene PackedScene(std::span<const RawGaussian> gaussians);

}  // namespace vistrel::test
