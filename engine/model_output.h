// SPDX-License-Identifier: GPL-3.0-or-later
// From a network's raw outputs to Gaussians.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "engine/gaussian_set.h"

namespace vistrel {

// One output of a network run. The memory belongs to the caller.
struct ModelOutput {
    bool isFloat32 = false;
    std::vector<std::int64_t> shape;
    std::span<const float> values;  // empty unless isFloat32
};

// Two layouts are understood:
// - one output [1, N, 14] or [N, 14]: mean x, y, z; scales (3); quaternion w, x, y, z; red, green,
//   blue; opacity;
// - five outputs: means [1, N, 3] or [N, 3], scales (3), quaternions (4), colours (3), opacities.
// No activation is applied: the values are final. N = 0 is an empty scene.
//
// Throws std::runtime_error on any other layout and on outputs whose values do not suffice; never
// reads past the end of one. Any thread.
[[nodiscard]] GaussianSet ParseModelOutputs(std::span<const ModelOutput> outputs);

}  // namespace vistrel
