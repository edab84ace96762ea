// SPDX-License-Identifier: GPL-3.0-or-later
// Made-up scenes with the ranges of real ones.
#pragma once

#include <cstdint>

#include "engine/gaussian_set.h"

namespace vistrel::test {

// Near and far, dark and bright, mostly opaque, with quaternions of any length. The same arguments
// give the same scene.
[[nodiscard]] GaussianSet SyntheticGaussians(std::int32_t count, std::uint32_t seed = 1);

}  // namespace vistrel::test
