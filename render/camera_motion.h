// SPDX-License-Identifier: GPL-3.0-or-later
// How a camera moves in a movie whose end leads into its beginning.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "render/pinhole_camera.h"

namespace vistrel {

enum class CameraMotion : std::uint8_t {
    Sway,    // from side to side
    Circle,  // right, up, left and down again
    Dolly,   // forwards and back again
    Orbit,   // from side to side around the middle of the scene
};

struct CameraMotionName {
    std::string_view name;  // on command lines
    std::string_view help;
};

// In the order of the enumerators.
inline constexpr std::array<CameraMotionName, 4> kCameraMotions = {{
    {"sway", "from side to side"},
    {"circle", "in a circle"},
    {"dolly", "forwards and back"},
    {"orbit", "from side to side around the middle of the scene"},
}};

// `camera` at `phase` of the motion, 0 to 1, where 0 and 1 are the same. It moves away from its
// place by at most `amount` times `depth`, smoothly also from the end to the beginning. What lies
// at depth `depth` stays where it is in the picture while the camera sways or circles, and so does
// the point of that depth on the camera's axis while it orbits. Dolly only goes forwards from the
// camera's place.
// `depth` is positive and `amount` 0 to kMostMotion. Any thread.
[[nodiscard]] PinholeCamera MovedCamera(const PinholeCamera& camera, float depth,
                                        CameraMotion motion, float amount, float phase);

inline constexpr float kMostMotion = 0.5F;

// Phases at which the camera is farthest away: what lies beside the scene comes into the picture
// at none of the others unless it does at one of these.
[[nodiscard]] std::vector<float> FarthestPhases(CameraMotion motion);

}  // namespace vistrel
