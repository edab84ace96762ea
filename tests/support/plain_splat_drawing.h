// SPDX-License-Identifier: GPL-3.0-or-later
// The drawing of Gaussians written down step by step, one pixel at a time: what the fast one is
// compared with, in tests and in the benchmark.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "render/gaussian_packing.h"
#include "render/pinhole_camera.h"

namespace vistrel::test {

struct PlainPicture {
    int width = 0;
    int height = 0;
    std::vector<float> rgb;      // width x height x 3, rows from the top, sRGB values on black
    std::vector<float> through;  // width x height: share of the background that shows, 0..1
};

// Splats every Gaussian and blends front to back, in order of the depth of the centres.
//
// Projection of the covariance: EWA splatting (Zwicker, Pfister, van Baar, Gross, "EWA Volume
// Splatting", IEEE Visualization 2001); low-pass filter of 0.3 pixels squared, opacity threshold of
// 1/255 and blending as in Kerbl, Kopanas, Leimkuehler, Drettakis, "3D Gaussian Splatting for
// Real-Time Radiance Field Rendering", ACM Transactions on Graphics 42(4), 2023. Gaussians
// with values that are not finite are left out. Throws std::bad_alloc only; any thread.
[[nodiscard]] PlainPicture DrawPlainly(std::span<const RawGaussian> gaussians,
                                       const PinholeCamera& camera);

}  // namespace vistrel::test
