// SPDX-License-Identifier: GPL-3.0-or-later
// The part of the unprojection that is worth vector instructions.
#pragma once

#include <cstddef>

namespace vistrel {

// Factors that lead from the square picture's camera space to the photograph's; z keeps its own.
struct CameraStretch {
    double x = 1.0;
    double y = 1.0;
};

// Multiplies the x and y of `count` points (x, y, z each) by the stretch. Any thread.
void StretchMeans(const CameraStretch& stretch, float* means, std::size_t count);

// Replaces the scales (3 each) and quaternions (4 each: w, x, y, z) of `count` ellipsoids by those
// of the stretched ellipsoids, longest axis first. Runs on the best instructions that the processor
// has. Any thread.
void StretchEllipsoids(const CameraStretch& stretch, float* scales, float* quaternions,
                       std::size_t count);

}  // namespace vistrel
