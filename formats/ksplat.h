// SPDX-License-Identifier: GPL-3.0-or-later
// .ksplat files, version 0.1: sections of Gaussians that lie in buckets, whose centres let them do
// with few bits. Little-endian. There is no magic number: the name's ending tells. The description
// followed is the SplatBuffer of mkkellogg's GaussianSplats3D.
//
//   offset  bytes  header, 4096 bytes; the rest is 0
//   0       1 + 1  version, major and minor: 0 and at least 1
//   4       4      sections that there is room for
//   8       4      sections
//   12      4      Gaussians that there is room for
//   16      4      Gaussians
//   20      2      level of compression, 0 to 2
//   24      3 x 4  centre of the scene, float; not read
//   36      2 x 4  least and greatest harmonic at level 2, float; 0 is -1.5 and 1.5
//
//   offset  bytes  header of a section, 1024 bytes; all of them follow the file's header
//   0       4      Gaussians
//   4       4      Gaussians that there is room for
//   8       4      Gaussians in a full bucket           this and the following: 0 at level 0
//   12      4      buckets
//   16      4      side of a bucket, float
//   20      2      bytes of a bucket: 12
//   24      4      steps in half a side; 0 is 32767
//   28      4      bytes of the section; not read
//   32      4      full buckets, which come first
//   36      4      buckets that are partly filled
//   40      2      degree of the harmonics, 0 to 2
//
// Then come the sections: for each bucket that is partly filled its number of Gaussians (4 bytes),
// for each bucket its centre (3 floats), and the Gaussians, bucket by bucket:
//
//   level 0   1 and 2  meaning                       unit, quantisation
//   3 x 4     3 x 2    centre x, y, z                level 0: float, the scene's length; else steps
//                                                    from the bucket's centre, plus those in half a
//                                                    side
//   3 x 4     3 x 2    standard deviations x, y, z   float or binary16, not logarithms
//   4 x 4     4 x 2    quaternion w, x, y, z         float or binary16
//   4         4        red, green, blue; opacity     sRGB value, 0..255 for 0..1
//   9 x 4     9 x 2/1  harmonics of degree 1: three of red, of green, of blue; float, binary16 or
//                      (level 2) 0..255 from the least to the greatest harmonic
//   15 x 4    15 x 2/1 harmonics of degree 2: five of red, of green, of blue
//
// The frame is x to the right, y down, z forward: files lie as PLY files do. There is no camera.
#pragma once

#include "formats/scene_io.h"

namespace vistrel {

// See SceneReader in formats/scene_io.h. The buckets' table is held beside the sink.
[[nodiscard]] bool ReadKsplat(const SceneInput& input, SceneSink& sink);

}  // namespace vistrel
