// SPDX-License-Identifier: GPL-3.0-or-later
// SOG files: a zip archive of meta.json and WebP pictures, of versions 1 and 2.
//
// The layout is that of "The SOG Format" in PlayCanvas' user manual (version 2) and of what
// splat-transform 3.7 reads (version 1). Values lie as in the PLY file that the scene comes from;
// programs that show the format take them so. For scenes in this program's frame that is x right,
// y down, z forward, and neither reader nor writer turns anything.
//
// Gaussian i is pixel i, row by row from the top left, of all pictures but the palette. They have
// the same size, with at least as many pixels as Gaussians; those that are left mean nothing. R, G,
// B, A are a pixel's bytes; mins, maxs and codebook are in meta.json, one of mins and maxs for each
// channel, of a codebook 256 entries, shared by the channels.
//
//   picture            channel  meaning                      version 1         version 2
//   means[0]           R G B    low byte of x, y, z
//   means[1]           R G B    high byte of x, y, z; with m = mins + (maxs - mins) * (low + 256 *
//                               high) / 65535 the position is sign(m) * (exp(|m|) - 1), in the
//                               scene's unit of length
//   scales[0]          R G B    logarithm of the scale       steps             codebook
//   quats[0]           A        252 + place in w, x, y, z of the component that is largest and
//                               not negative
//                      R G B    the three others, (byte / 255 - 0.5) * sqrt(2)
//   sh0[0]             R G B    coefficient of degree 0      steps             codebook
//                      A        opacity                      logit in steps    byte / 255
//   shN[0]             R G B    palette of harmonics         steps, one range  codebook
//   shN[1]             R G      low and high byte of the place in the palette
//
// A step is (maxs - mins) / 255. shN is not there for scenes without harmonics. Its palette has 64
// entries in a row, one pixel for each of the 3, 8 or 15 coefficients above degree 0, in the order
// of PLY files. Version 2 tells the number of Gaussians as "count" and, in shN, the degree as
// "bands" and the entries as "count"; in version 1 they are means.shape[0], follow from the
// palette's width, and are not told.
//
// How much may stand in a small file. The pictures of a scene that is all the same take next to
// nothing, so what is unpacked cannot be checked against the file's size as such. A scene, and each
// picture, are read as long as they take at most 1,024 times the memory of the file, which is the
// most that deflate could have done; scenes of photographs take 11 times as much. At most half of a
// picture, or four rows of it, may be left.
#pragma once

#include "formats/scene_io.h"

namespace vistrel {

// See SceneReader and SceneWriter in formats/scene_io.h. The writer writes version 2 in an order
// of its own, with the Gaussians that are near each other in neighbouring pixels; scales below
// exp(-30) become that. Harmonics of degree 1 or 2 are written as degree 3 with zeros, since the
// page's renderer takes every palette for one of degree 3.
[[nodiscard]] bool ReadSog(const SceneInput& input, SceneSink& sink);
void WriteSog(const RawScene& scene, const SceneWriteOptions& options, ByteSink& sink);

}  // namespace vistrel
