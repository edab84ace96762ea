// SPDX-License-Identifier: GPL-3.0-or-later
// SPZ files, versions 1 to 4, as the library github.com/nianticlabs/spz documents them.
//
// Versions 1 to 3 are gzip files of
//
//   bytes  what
//   16     header
//   ...    the attributes below, one behind the other, that of all Gaussians each
//   ...    with flag 2: extensions
//
// version 4 is
//
//   32     header
//   ...    with flag 2: extensions, up to the table of contents
//   16 n   table of contents: of each stream its size in the file and the attribute's size, 8 bytes
//          each; n is 6, or 5 for a scene without harmonics
//   ...    n Zstandard frames of an attribute each, one behind the other
//
// Header, numbers in little-endian order:
//
//   offset  bytes  meaning
//   0       4      "NGSP"
//   4       4      version
//   8       4      count of Gaussians
//   12      1      degree of the harmonics, 0 to 3 here
//   13      1      f, fractional bits of positions
//   14      1      flags: 1 trained with antialiasing (not used here), 2 has extensions
//   15      1      0; version 4: count of streams
//   16      4      version 4: offset of the table of contents
//   20      12     version 4: 0
//
// Attributes in their order, each one of all Gaussians, d the size of the degree's harmonics
// without the first (0, 3, 8, 15):
//
//   bytes  meaning
//   9      x, y, z in steps of 2^-f, 24 bits in two's complement; version 1: half floats, 6 bytes
//   1      opacity in steps of 1/255
//   3      red, green, blue: colorDc = (v / 255 - 0.5) / 0.15
//   3      scales: logScale = v / 16 - 10
//   4      rotation: its smallest three components, in steps of sqrt(0.5) / 511; from the
//          highest bit on: index of the left out largest one in x, y, z, w, which counts as
//          positive (2), then each other one in this order as sign (1) and magnitude (9).
//          Versions 1 and 2, 3 bytes: x, y, z = v / 127.5 - 1; w >= 0 completes the length to 1
//   3 d    harmonics, each one's red, green, blue: v / 128 - 1. Written in steps of 8 (degree
//          1) and 16 (above it), which pack better
//
// Extensions are records of type (4 bytes), length (4) and content. Of these, 0xADBE0003 says how
// the scene lies, by 4 bytes: 1 + (1 if x points right) + (2 if y up) + (4 if z forward); 0 says
// nothing, and more than 8, where y and z change places, is not read here.
//
// Frame: SceneInput and SceneWriteOptions say it, see SpzFrame, where the file does not.
#pragma once

#include "formats/scene_io.h"

namespace vistrel {

// See SceneReader and SceneWriter in formats/scene_io.h. Beside what they hand over they take the
// packed file and, unpacked, 20 to 65 bytes for a Gaussian.
[[nodiscard]] bool ReadSpz(const SceneInput& input, SceneSink& sink);
void WriteSpz(const RawScene& scene, const SceneWriteOptions& options, ByteSink& sink);

}  // namespace vistrel
