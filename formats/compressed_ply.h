// SPDX-License-Identifier: GPL-3.0-or-later
// Compressed PLY files, as PlayCanvas' tools write them (the description followed is that of its
// engine's and splat-transform's readers): 16 bytes for a Gaussian, in chunks of 256 that lie
// together in space and have ranges of their own. See formats/ply_header.h for PLY itself.
//
//   element chunk, one for every 256 Gaussians
//   property                        type    meaning                              unit
//   min_x y z, max_x y z            float   range of the centres                 the scene's length
//   min_scale_x y z, max_scale_...  float   range of the standard deviations     ln(length)
//                                           of -20 to 20
//   min_r g b, max_r g b            float   range of the colours; 0 and 1 where  sRGB value
//                                           older files have none
//
//   element vertex, one for each Gaussian; least significant bits last
//   property                type   bits         meaning
//   packed_position         uint   11 10 11     x, y, z in the chunk's range
//   packed_rotation         uint   2 10 10 10   which of w, x, y, z is largest; the other three in
//                                               this order, -sqrt(1/2)..sqrt(1/2), the largest
//                                               positive, length 1
//   packed_scale            uint   11 10 11     x, y, z in the chunk's range
//   packed_color            uint   8 8 8 8      red, green, blue in the chunk's range; opacity 0..1
//
//   element sh, one for each Gaussian, where there are harmonics
//   property                type    meaning
//   f_rest_0 to N - 1       uchar   harmonics as in formats/ply.h; N is 9, 24 or 45. 0: -4, 255: 4,
//                                   else the middle of one of 256 steps of -4..4
//
// A value of b bits is one of 2^b numbers spread evenly over its range, ends included. The frame is
// x to the right, y down, z forward: files lie as other PLY files do. There is no camera.
#pragma once

#include "formats/scene_io.h"

namespace vistrel {

// See SceneReader and SceneWriter in formats/scene_io.h. The Gaussians are written in another order
// (formats/morton_order.h); that takes some 50 bytes for each beside the scene.
[[nodiscard]] bool ReadCompressedPly(const SceneInput& input, SceneSink& sink);
void WriteCompressedPly(const RawScene& scene, const SceneWriteOptions& options, ByteSink& sink);

}  // namespace vistrel
