// SPDX-License-Identifier: GPL-3.0-or-later
// Compressed PLY files: 16 bytes for a Gaussian, in chunks of 256.
#pragma once

#include "formats/scene_io.h"

namespace vistrel {

// See SceneReader and SceneWriter in formats/scene_io.h.
[[nodiscard]] bool ReadCompressedPly(const SceneInput& input, SceneSink& sink);
void WriteCompressedPly(const RawScene& scene, const SceneWriteOptions& options, ByteSink& sink);

}  // namespace vistrel
