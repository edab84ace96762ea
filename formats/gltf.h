// SPDX-License-Identifier: GPL-3.0-or-later
// glTF files with KHR_gaussian_splatting, as .gltf and as .glb.
#pragma once

#include "formats/scene_io.h"

namespace vistrel {

// See SceneReader and SceneWriter in formats/scene_io.h.
[[nodiscard]] bool ReadGltf(const SceneInput& input, SceneSink& sink);
void WriteGlb(const RawScene& scene, const SceneWriteOptions& options, ByteSink& sink);

}  // namespace vistrel
