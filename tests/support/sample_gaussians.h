// SPDX-License-Identifier: GPL-3.0-or-later
// Made-up Gaussians of every shape that a network, or a broken one, may put out.
#pragma once

#include <string>
#include <vector>

#include "engine/gaussian_set.h"

namespace vistrel::test {

enum class GaussianShape {
    Anisotropic,
    Isotropic,
    NearlyIsotropic,  // scales differ in the last digits
    TwoEqualScales,   // the rotation about one axis is free
    Flat,             // one scale 1e-3 to 1e-7 of the others
    Needle,           // two such scales
    ZeroScale,        // exactly flat
    TwoZeroScales,    // exactly a line
    AllZeroScales,    // a point
    Graded,           // each scale anywhere in nine decades
    AxisAligned,      // identity rotation
    LongQuaternion,   // length 0.5 to 8
    ZeroQuaternion,
    NegativeScales,
    Huge,  // scales about 1e30
    Tiny,  // scales about 1e-30
};

inline constexpr int kGaussianShapes = 16;

[[nodiscard]] std::string Name(GaussianShape shape);

// `count` Gaussians of one shape, else random; means, colours and opacities too. The same seed
// gives the same set.
[[nodiscard]] GaussianSet MakeGaussians(GaussianShape shape, int count, unsigned seed);

// `count` Gaussians, each of a shape drawn from `shapes`.
[[nodiscard]] GaussianSet MakeMixedGaussians(const std::vector<GaussianShape>& shapes, int count,
                                             unsigned seed);

}  // namespace vistrel::test
