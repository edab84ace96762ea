// SPDX-License-Identifier: GPL-3.0-or-later
// Where the eyes of a stereo pair stand, as comfort or the window has it.
#pragma once

#include <cmath>

#include "render/pinhole_camera.h"

namespace vistrel {

// An eye, relative to a camera between the two or near them.
struct EyePlace {
    float offset = 0.0F;  // to the right along the camera's row 0, in units of the scene
    float shift = 0.0F;   // of its picture to the right, pixels
};

struct EyePlaces {
    EyePlace left;
    EyePlace right;
};

// Any thread, like all below.
[[nodiscard]] PinholeCamera EyeAt(const PinholeCamera& camera, const EyePlace& place);

// Eyes `separation` apart, `camera` between them. What lies at depth `screen` has the same place in
// both pictures.
[[nodiscard]] EyePlaces EyesAround(const PinholeCamera& camera, float separation, float screen);

// Between which depths a scene lies, but for what is too little to count.
struct DepthRange {
    float nearest = 0.0F;   // positive
    float farthest = 0.0F;  // not less
};

// Eyes that look at a scene with ease: the nearest lies on the screen and all else behind it, and
// from the nearest to the farthest the pictures shift against each other by at most `parallax` of
// their width. The eyes are never farther apart than a tenth of the way to the nearest: beyond that
// they see too much of what a photograph does not show.
[[nodiscard]] EyePlaces ComfortableEyes(const PinholeCamera& camera, const DepthRange& depths,
                                        float parallax);

}  // namespace vistrel
