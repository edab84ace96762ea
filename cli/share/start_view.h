// SPDX-License-Identifier: GPL-3.0-or-later
// A scene as the page shows it first.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "formats/raw_scene.h"
#include "render/eye_pair.h"

namespace vistrel {

struct StartView {
    std::optional<PhotographCamera> camera = {};  // of the photograph
    std::optional<DepthRange> depths = {};        // of what that camera sees; see SeenDepths
    std::vector<std::byte> poster = {};           // a WebP file; empty where none is asked for
};

// The poster is the photograph's view drawn as the page draws, at most 1280 pixels on a side. Where
// the scene has no camera it is the square in the middle of the window's view, all of which the
// page shows in windows of every shape. Throws std::runtime_error and std::bad_alloc.
[[nodiscard]] StartView LookAt(const RawScene& scene, bool wantsPoster);

}  // namespace vistrel
