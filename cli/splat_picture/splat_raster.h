// SPDX-License-Identifier: GPL-3.0-or-later
// Draws Gaussians on the CPU, one thread, without a graphics library.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "cli/splat_picture/splat_ply_reader.h"
#include "render/pinhole_camera.h"

namespace vistrel {

struct SplatPicture {
    int width = 0;
    int height = 0;
    std::vector<float> rgb;      // width x height x 3, rows from the top, sRGB values on black
    std::vector<float> through;  // width x height: share of the background that shows, 0..1
};

// The camera that took the photograph, for a picture of `width` x `height` pixels (0 x 0: the
// photograph's own size) that shows all of the photograph with square pixels staying square.
[[nodiscard]] PinholeCamera CameraOfFile(const SplatFile& file, int width, int height);

// Half of the vertices before the camera are nearer than this; 1 where there are none.
[[nodiscard]] float MedianDepth(std::span<const SplatVertex> vertices);

// Moves the camera sideways by `offset` (to the right where positive) and turns it about the
// vertical, so that it looks at the point `distance` straight ahead of where it was.
void ShiftSideways(PinholeCamera& camera, float offset, float distance);

// Splats every vertex and blends front to back, in order of the depth of the centres.
//
// Projection of the covariance: EWA splatting (Zwicker, Pfister, van Baar, Gross, "EWA Volume
// Splatting", IEEE Visualization 2001); low-pass filter of 0.3 pixels squared, opacity threshold of
// 1/255 and blending as in Kerbl, Kopanas, Leimkuehler, Drettakis, "3D Gaussian Splatting for
// Real-Time Radiance Field Rendering", ACM Transactions on Graphics 42(4), 2023. Vertices with
// values that are not finite are left out. Throws std::bad_alloc only; any thread.
[[nodiscard]] SplatPicture DrawSplats(std::span<const SplatVertex> vertices,
                                      const PinholeCamera& camera);

}  // namespace vistrel
