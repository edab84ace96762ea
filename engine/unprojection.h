// SPDX-License-Identifier: GPL-3.0-or-later
// From the square network picture into the photograph's own camera space.
#pragma once

#include "engine/gaussian_set.h"

namespace vistrel {

// Undoes the stretch to the square, in place: scales the means by
//     sx = R / (2 fx), sy = R / (2 fy), sz = 1   with fx = focalPx R / width, fy = focalPx R /
//     height
// (R = `internalResolution`), and replaces each Gaussian's scales and quaternion by those of the
// covariance S (Q diag(s)^2 Q^T) S: scales largest first, quaternion w, x, y, z of unit length and
// determinant +1. Colours and opacities stay. Arithmetic is double precision.
//
// Logs two lines. Throws std::bad_alloc only. Any thread; one set, one thread.
void UnprojectGaussians(GaussianSet& gaussians, float focalPx, int width, int height,
                        int internalResolution);

}  // namespace vistrel
