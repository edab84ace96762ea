// SPDX-License-Identifier: GPL-3.0-or-later
// Orders of a scene's Gaussians.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace vistrel {

// The places of the keys from the least key to the greatest; equal ones keep their order. Beside
// the result it takes 32 bytes for each key of 64 bits and 16 for each of 32. Throws
// std::bad_alloc. Any thread.
[[nodiscard]] std::vector<std::uint32_t> PlacesByKey(std::span<const std::uint64_t> keys);
[[nodiscard]] std::vector<std::uint32_t> PlacesByKey(std::span<const std::uint32_t> keys);

}  // namespace vistrel
