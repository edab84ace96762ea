// SPDX-License-Identifier: GPL-3.0-or-later
// An order of a scene's Gaussians in which neighbours lie near each other in space.
#pragma once

#include <cstdint>
#include <vector>

#include "formats/raw_scene.h"

namespace vistrel {

// The places of all Gaussians along a curve in the shape of Z (Morton 1966) through a grid of 2^21
// cells a side that their centres, which are finite, fill. Equal cells keep their order. Beside the
// result it takes 40 bytes for each Gaussian. Throws std::bad_alloc. Any thread.
[[nodiscard]] std::vector<std::uint32_t> MortonOrder(const RawScene& scene);

}  // namespace vistrel
