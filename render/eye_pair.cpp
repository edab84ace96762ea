// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/eye_pair.h"

#include <algorithm>
#include <cstddef>

namespace vistrel {

PinholeCamera EyeAt(const PinholeCamera& camera, const EyePlace& place) {
    PinholeCamera eye = camera;
    for (std::size_t i = 0; i < 3; ++i) eye.position[i] += place.offset * camera.rows[0][i];
    eye.centreX += place.shift;
    return eye;
}

EyePlaces EyesAround(const PinholeCamera& camera, float separation, float screen) {
    const float half = 0.5F * separation;
    const float shift = camera.focalX * half / screen;
    return {{-half, -shift}, {half, shift}};
}

EyePlaces ComfortableEyes(const PinholeCamera& camera, const DepthRange& depths, float parallax) {
    constexpr float kWidest = 0.1F;
    const float widest = kWidest * depths.nearest;
    // In pixels for eyes one unit apart.
    const float whole = camera.focalX * (1.0F / depths.nearest - 1.0F / depths.farthest);
    const float wanted = parallax * static_cast<float>(camera.width);
    const float separation = wanted < widest * whole ? wanted / whole : widest;
    return EyesAround(camera, parallax > 0.0F ? separation : 0.0F, depths.nearest);
}

}  // namespace vistrel
