// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/camera_motion.h"

#include <cmath>
#include <cstddef>
#include <numbers>

namespace vistrel {
namespace {

void MoveAlong(PinholeCamera& camera, std::size_t row, float way) {
    for (std::size_t i = 0; i < 3; ++i) camera.position[i] += way * camera.rows[row][i];
}

// Moves up by `way`, with the frustum skewed so that what lies at `depth` stays.
PinholeCamera Raised(const PinholeCamera& camera, float way, float depth) {
    PinholeCamera raised = camera;
    MoveAlong(raised, 1, -way);
    raised.centreY -= camera.focalY * way / depth;
    return raised;
}

// To the right by `angle` on a circle around the point at `depth` in the middle, looking at it.
PinholeCamera Turned(const PinholeCamera& camera, float angle, float depth) {
    PinholeCamera turned = camera;
    const float cosine = std::cos(angle);
    const float sine = std::sin(angle);
    for (std::size_t i = 0; i < 3; ++i) {
        turned.rows[0][i] = cosine * camera.rows[0][i] + sine * camera.rows[2][i];
        turned.rows[2][i] = cosine * camera.rows[2][i] - sine * camera.rows[0][i];
    }
    MoveAlong(turned, 2, -depth);
    for (std::size_t i = 0; i < 3; ++i) turned.position[i] += depth * camera.rows[2][i];
    return turned;
}

}  // namespace

PinholeCamera MovedCamera(const PinholeCamera& camera, float depth, CameraMotion motion,
                          float amount, float phase) {
    const float angle = 2.0F * std::numbers::pi_v<float> * (phase - std::floor(phase));
    const float way = amount * depth;
    switch (motion) {
        case CameraMotion::Sway:
            return EyeOf(camera, way * std::sin(angle), depth);
        case CameraMotion::Circle:
            return Raised(EyeOf(camera, way * std::cos(angle), depth), way * std::sin(angle),
                          depth);
        case CameraMotion::Dolly: {
            PinholeCamera moved = camera;
            MoveAlong(moved, 2, 0.5F * way * (1.0F - std::cos(angle)));
            return moved;
        }
        case CameraMotion::Orbit:
            return Turned(camera, amount * std::sin(angle), depth);
    }
    return camera;
}

std::vector<float> FarthestPhases(CameraMotion motion) {
    switch (motion) {
        case CameraMotion::Sway:
        case CameraMotion::Orbit:
            return {0.25F, 0.75F};
        case CameraMotion::Dolly:
            return {0.0F};
        case CameraMotion::Circle:
            break;
    }
    return {0.0F, 0.125F, 0.25F, 0.375F, 0.5F, 0.625F, 0.75F, 0.875F};
}

}  // namespace vistrel
