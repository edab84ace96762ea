// SPDX-License-Identifier: GPL-3.0-or-later
// The Gaussians of one scene, attribute by attribute.
#pragma once

#include <cstdint>

#include "base/aligned_array.h"

namespace vistrel {

// Growing it by no value in particular leaves the new ones as whatever the memory holds.
using AttributeValues = AlignedVector<float>;

// One attribute of every Gaussian: `count` x `components` values, Gaussian by Gaussian.
struct AttributeArray {
    AttributeValues data;
    std::int32_t count = 0;
    std::int32_t components = 0;
};

struct GaussianSet {
    AttributeArray means;        // 3: x, y, z of the centre; x right, y down, z forward
    AttributeArray scales;       // 3: standard deviations along the own axes; linear, not negative
    AttributeArray quaternions;  // 4: rotation as w, x, y, z; need not be normalised
    AttributeArray colors;       // 3: red, green, blue; linear light, nominally in [0, 1]
    AttributeArray opacities;    // 1: in [0, 1]; linear
    std::int32_t count = 0;
};

}  // namespace vistrel
