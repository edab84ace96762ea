// SPDX-License-Identifier: GPL-3.0-or-later
// glTF 2.0 files with KHR_gaussian_splatting, as .gltf and as .glb, as both texts of the Khronos
// Group have it (the extension as ratified in 2026).
//
// A .glb file is, numbers in little-endian order:
//
//   offset   bytes  meaning
//   0        4      "glTF"
//   4        4      2
//   8        4      bytes of the file
//   12       4      n, bytes of the JSON text, a multiple of 4
//   16       4      "JSON"
//   20       n      the JSON text
//   20 + n   4      bytes of the first buffer, a multiple of 4
//   24 + n   4      "BIN" and a zero
//   28 + n   ...    the first buffer
//
// A .gltf file is the JSON text alone; its buffers are base64 text in it or files beside it.
//
// Gaussians are points (mode 0) of meshes that nodes of the scene place. Each attribute is an
// accessor: bytes of a buffer, with a type and a distance from one to the next.
//
//   attribute            values   types
//   POSITION             x, y, z  float
//   :ROTATION            x y z w  float, 8 and 16 bits normalised
//   :SCALE               3        float, 8 and 16 bits; linear, not negative
//   :OPACITY             1        float, 8 and 16 bits normalised; 0 to 1
//   :SH_DEGREE_l_COEF_n  r, g, b  float; n = 0 to 2 l, all up to a degree
//
// The names that begin with a colon stand behind KHR_gaussian_splatting.
// Coefficients are those of RawScene. Written are floats, one attribute behind the other.
//
// Frame: x right, y up, z backward. A scene is turned by half a turn about x on its way, so that it
// stands upright in glTF readers and is seen along -z. The camera of a photograph is a node's
// camera there, without a transform, whose `extras` say in pixels what glTF has no words for:
// "focal", "centre" and "size", two numbers each.
#pragma once

#include "formats/scene_io.h"

namespace vistrel {

// See SceneReader and SceneWriter in formats/scene_io.h. Node transforms may move, turn and evenly
// scale; meshes with other ones, sparse accessors, linear colours, other kernels and compressed
// Gaussians are refused.
[[nodiscard]] bool ReadGltf(const SceneInput& input, SceneSink& sink);
void WriteGlb(const RawScene& scene, const SceneWriteOptions& options, ByteSink& sink);

}  // namespace vistrel
