// SPDX-License-Identifier: GPL-3.0-or-later
// An order in which neighbours in space are near each other.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "base/aligned_array.h"

namespace vistrel {

// Places 0..n-1 along the Z-order curve (Morton 1966) through a cube of 65,536 steps a side; those
// of the same point in ascending order. `coordinates` are n values for each axis. Throws
// std::bad_alloc. Any thread.
[[nodiscard]] AlignedArray<std::uint32_t> SpaceOrder(
    const std::array<std::span<const std::uint16_t>, 3>& coordinates);

}  // namespace vistrel
