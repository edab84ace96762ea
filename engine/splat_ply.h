// SPDX-License-Identifier: GPL-3.0-or-later
// Writes Gaussians as a binary little-endian 3DGS PLY file.
#pragma once

#include <cstdint>
#include <string>

#include "engine/gaussian_set.h"

namespace vistrel {

// Writes `gaussians` (camera space; linear scales, colours and opacities) to `outputPath`, with the
// camera's elements behind the vertices: the identity as extrinsic, focal length and principal
// point in pixels, picture size, frame, 10 % and 90 % disparity, colour space, version. Every array
// holds `count` times its components. With `keepRatio` below 1 only that share is written, the most
// important (volume x opacity) in their original order: at least one, none of an empty set. Any
// other ratio, NaN too, keeps all.
//
// The file appears whole and is then safe on the disk (see base/new_file.h). Throws std::bad_alloc
// and std::runtime_error: "Cannot open output file", or "Cannot write output file: " and the
// system's reason; a former file stays then. Takes less than 2 MiB beside the set, and 4 bytes per
// kept Gaussian when not all are kept. Logs one line, and one for a decimation. Any thread.
void WriteSplatPly(const GaussianSet& gaussians, const std::wstring& outputPath, float focalPx,
                   std::uint32_t width, std::uint32_t height, float keepRatio);

}  // namespace vistrel
