// SPDX-License-Identifier: GPL-3.0-or-later
// .ksplat files: sections of Gaussians in buckets.
#pragma once

#include "formats/scene_io.h"

namespace vistrel {

// See SceneReader in formats/scene_io.h.
[[nodiscard]] bool ReadKsplat(const SceneInput& input, SceneSink& sink);

}  // namespace vistrel
