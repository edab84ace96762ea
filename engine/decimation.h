// SPDX-License-Identifier: GPL-3.0-or-later
// Choosing the Gaussians that matter most.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/gaussian_set.h"

namespace vistrel {

// How many of `count` Gaussians a share of `keepRatio` < 1 keeps: the product, in single precision,
// cut to a whole number; at least one where there is one. 0 <= count.
[[nodiscard]] std::int32_t DecimatedCount(std::int32_t count, float keepRatio);

// The ascending indices of the `keep` most important Gaussians, 0 <= keep <= count. Importance is
// scale_y scale_x scale_z opacity, in single precision and this order. Among equals the first ones
// are kept; an importance that is NaN ranks below all others.
//
// Beside the result (4 bytes per kept index) it takes 512 KiB. Any thread.
[[nodiscard]] std::vector<std::int32_t> MostImportant(const GaussianSet& gaussians,
                                                      std::int32_t keep);

}  // namespace vistrel
