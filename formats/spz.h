// SPDX-License-Identifier: GPL-3.0-or-later
// SPZ files, versions 1 to 4.
#pragma once

#include "formats/scene_io.h"

namespace vistrel {

// See SceneReader and SceneWriter in formats/scene_io.h.
[[nodiscard]] bool ReadSpz(const SceneInput& input, SceneSink& sink);
void WriteSpz(const RawScene& scene, const SceneWriteOptions& options, ByteSink& sink);

}  // namespace vistrel
