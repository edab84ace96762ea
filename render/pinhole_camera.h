// SPDX-License-Identifier: GPL-3.0-or-later
// From where and how a scene is seen.
#pragma once

#include <array>

#include "formats/raw_scene.h"

namespace vistrel {

// A pinhole camera. A point p of the scene lies at rows * (p - position) before the camera:
// x right, y down, z forward. It falls on the pixel coordinates focal * (x, y) / z + centre.
struct PinholeCamera {
    std::array<float, 3> position = {0.0F, 0.0F, 0.0F};
    std::array<std::array<float, 3>, 3> rows = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    float focalX = 0.0F;  // pixels
    float focalY = 0.0F;
    float centreX = 0.0F;  // pixels; the first pixel's centre is 0.5
    float centreY = 0.0F;
    int width = 0;  // pixels of the picture to draw
    int height = 0;
};

// The photograph's camera for a picture of `width` x `height` pixels (0 x 0: the photograph's own
// size) that shows all of the photograph with square pixels staying square. Any thread.
[[nodiscard]] PinholeCamera FitCamera(const PhotographCamera& photograph, int width, int height);

// An eye `offset` to the right of the camera (to the left where negative), in units of the scene.
// It looks in the same direction through a frustum that is skewed so that what lies at depth
// `distance` stays where it was: no toe-in and no vertical disparity. Any thread.
[[nodiscard]] PinholeCamera EyeOf(const PinholeCamera& camera, float offset, float distance);

}  // namespace vistrel
