// SPDX-License-Identifier: GPL-3.0-or-later
// .splat files: records of 32 bytes, one for each Gaussian, little-endian, and nothing else. There
// is no magic number: the name's ending tells. The description followed is that of antimatter15's
// viewer and splat-transform's reader.
//
//   offset  bytes  meaning                         unit, quantisation
//   0       3 x 4  centre x, y, z                  float, the scene's length
//   12      3 x 4  standard deviations x, y, z     float, the scene's length, not logarithms
//   24      3      red, green, blue                sRGB value, 0..255 for 0..1; no harmonics
//   27      1      opacity                         0..255 for 0..1
//   28      4      quaternion w, x, y, z           (v - 128) / 128, length 1
//
// The frame is x to the right, y down, z forward: files lie as PLY files do. There is no camera.
#pragma once

#include "formats/scene_io.h"

namespace vistrel {

// See SceneReader and SceneWriter in formats/scene_io.h. What is large and opaque is written first,
// as viewers expect that show a file while it comes; that takes 56 bytes for each Gaussian beside
// the scene. Harmonics are left out.
[[nodiscard]] bool ReadSplat(const SceneInput& input, SceneSink& sink);
void WriteSplat(const RawScene& scene, const SceneWriteOptions& options, ByteSink& sink);

}  // namespace vistrel
