// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/pinhole_camera.h"

#include <algorithm>
#include <cstddef>

namespace vistrel {

PinholeCamera FitCamera(const PhotographCamera& photograph, int width, int height) {
    const auto fromWidth = static_cast<float>(photograph.width);
    const auto fromHeight = static_cast<float>(photograph.height);
    PinholeCamera camera;
    camera.width = width > 0 ? width : static_cast<int>(photograph.width);
    camera.height = height > 0 ? height : static_cast<int>(photograph.height);
    const auto toWidth = static_cast<float>(camera.width);
    const auto toHeight = static_cast<float>(camera.height);
    const float zoom = std::min(toWidth / fromWidth, toHeight / fromHeight);
    camera.focalX = photograph.focalX * zoom;
    camera.focalY = photograph.focalY * zoom;
    camera.centreX = photograph.centreX * zoom + 0.5F * (toWidth - fromWidth * zoom);
    camera.centreY = photograph.centreY * zoom + 0.5F * (toHeight - fromHeight * zoom);
    return camera;
}

PinholeCamera EyeOf(const PinholeCamera& camera, float offset, float distance) {
    PinholeCamera eye = camera;
    for (std::size_t i = 0; i < 3; ++i) eye.position[i] += offset * camera.rows[0][i];
    eye.centreX += camera.focalX * offset / distance;
    return eye;
}

}  // namespace vistrel
