// SPDX-License-Identifier: GPL-3.0-or-later
// PLY files of 3D Gaussian Splatting, as its authors' program writes them (Kerbl et al. 2023): see
// formats/ply_header.h for the format; the element `vertex` has a record for each Gaussian.
//
//   property            meaning                                      unit
//   x y z               centre                                       the scene's length
//   nx ny nz            written as 0 for programs that ask for them, not read
//   f_dc_0 to 2         red, green, blue; v is the sRGB value        (v - 0.5) / 0.28209478
//   f_rest_0 to N - 1   harmonics of degree 1 (N is 9), 2 (24) or 3 (45): all of red, then all
//                       of green, then all of blue; added to the sRGB value
//   opacity             logit                                        ln(o / (1 - o)), o in 0..1
//   scale_0 to 2        standard deviations along its own axes       ln(length)
//   rot_0 to 3          quaternion w, x, y, z, any length
//
// All are written as floats, in this order; they are read in any order, of any type, among others.
// The frame is x to the right, y down, z forward: files hold what a RawScene holds.
//
// Behind the vertices are the facts of the photograph's camera, where there is one, each element
// one number in a property of its own name:
//
//   element        number   type    meaning
//   extrinsic 16   4 x 4    float   rows of the camera's pose: written as the identity, not read
//   intrinsic 9    3 x 3    float   rows: fx 0 cx, 0 fy cy, 0 0 1, pixels
//   image_size 2            uint    width and height, pixels
#pragma once

#include "formats/scene_io.h"

namespace vistrel {

// See SceneReader and SceneWriter in formats/scene_io.h. Reading takes about 1 MiB for each
// thread beside the sink.
[[nodiscard]] bool ReadPly(const SceneInput& input, SceneSink& sink);
void WritePly(const RawScene& scene, const SceneWriteOptions& options, ByteSink& sink);

}  // namespace vistrel
