// SPDX-License-Identifier: GPL-3.0-or-later
// SOG files: a zip archive of WebP pictures, versions 1 and 2.
#pragma once

#include "formats/scene_io.h"

namespace vistrel {

// See SceneReader and SceneWriter in formats/scene_io.h.
[[nodiscard]] bool ReadSog(const SceneInput& input, SceneSink& sink);
void WriteSog(const RawScene& scene, const SceneWriteOptions& options, ByteSink& sink);

}  // namespace vistrel
