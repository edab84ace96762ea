// SPDX-License-Identifier: GPL-3.0-or-later
// How many Gaussians go into a file of a given size, which only writing it tells.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace vistrel {

struct PackedScene {
    std::size_t count = 0;  // of Gaussians
    std::string bytes;
};

// Makes a file of so many Gaussians. More Gaussians make a longer file, about in proportion.
using PackGaussianCount = std::function<std::string(std::size_t count)>;

// A file of at most `room` bytes with `most` Gaussians or, where they do not fit, nearly as many as
// do: it fills 99 % of the room, unless four attempts do not lead there. Nothing where not even one
// Gaussian fits. `most` is at least 1. Throws what `pack` throws. Any thread.
[[nodiscard]] std::optional<PackedScene> FillRoom(std::size_t most, std::uint64_t room,
                                                  const PackGaussianCount& pack);

}  // namespace vistrel
