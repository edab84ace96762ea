// SPDX-License-Identifier: GPL-3.0-or-later
// From what the network tells to what files of scenes hold.
#pragma once

#include <cstdint>

#include "engine/gaussian_set.h"
#include "formats/raw_scene.h"

namespace vistrel {

// The scene of a photograph of this size and focal length, in pixels, with its camera; values are
// those of the engine's own PLY files. Throws std::bad_alloc. Any thread.
[[nodiscard]] RawScene EncodedScene(const GaussianSet& gaussians, float focalPx,
                                    std::uint32_t width, std::uint32_t height);

}  // namespace vistrel
