// SPDX-License-Identifier: GPL-3.0-or-later
// The unprojection written down step by step, without any care for speed: what the fast one is
// compared with, in tests and in the benchmark.
#pragma once

#include "engine/gaussian_set.h"

namespace vistrel::test {

// Same contract as vistrel::UnprojectGaussians, but logs nothing: double precision, one Gaussian at
// a time, Eigen's iterative solver for the covariance.
void PlainUnproject(GaussianSet& gaussians, float focalPx, int width, int height,
                    int internalResolution);

}  // namespace vistrel::test
