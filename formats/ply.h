// SPDX-License-Identifier: GPL-3.0-or-later
// PLY files of 3D Gaussian Splatting.
#pragma once

#include "formats/scene_io.h"

namespace vistrel {

// See SceneReader and SceneWriter in formats/scene_io.h.
[[nodiscard]] bool ReadPly(const SceneInput& input, SceneSink& sink);
void WritePly(const RawScene& scene, const SceneWriteOptions& options, ByteSink& sink);

}  // namespace vistrel
