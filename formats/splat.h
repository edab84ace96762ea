// SPDX-License-Identifier: GPL-3.0-or-later
// .splat files: 32 bytes for a Gaussian, nothing else.
#pragma once

#include "formats/scene_io.h"

namespace vistrel {

// See SceneReader and SceneWriter in formats/scene_io.h.
[[nodiscard]] bool ReadSplat(const SceneInput& input, SceneSink& sink);
void WriteSplat(const RawScene& scene, const SceneWriteOptions& options, ByteSink& sink);

}  // namespace vistrel
