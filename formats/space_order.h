// SPDX-License-Identifier: GPL-3.0-or-later
// Orders in which neighbours in space are near each other: along the Z-order curve (Morton 1966).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "formats/raw_scene.h"

namespace vistrel {

// Places 0..n-1 along the curve through a cube of 65,536 steps a side; those of the same point in
// ascending order. `coordinates` are n values for each axis. Beside the result it takes 40 bytes
// for each place. Throws std::bad_alloc. Any thread.
[[nodiscard]] std::vector<std::uint32_t> SpaceOrder(
    const std::array<std::span<const std::uint16_t>, 3>& coordinates);

// The same of a scene's Gaussians, whose centres are finite, through the box of 2^21 steps a side
// that they fill.
[[nodiscard]] std::vector<std::uint32_t> SpaceOrder(const RawScene& scene);

}  // namespace vistrel
