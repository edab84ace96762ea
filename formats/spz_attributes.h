// SPDX-License-Identifier: GPL-3.0-or-later
// The values of Gaussians as SPZ files hold them; formats/spz.h says how.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "formats/axis_signs.h"
#include "formats/raw_scene.h"

namespace vistrel {

// In the file's order.
enum class SpzAttribute : std::uint8_t {
    Positions,
    Opacities,
    Colors,
    Scales,
    Rotations,
    Harmonics
};
inline constexpr std::size_t kSpzAttributes = 6;

struct SpzFacts {
    int version = 0;
    std::size_t count = 0;
    int degree = 0;
    int fractionalBits = 0;
    AxisSigns axes = {1.0F, 1.0F, 1.0F};  // of the file where ours are 1
};

// Bytes for each Gaussian.
using SpzSizes = std::array<std::size_t, kSpzAttributes>;
[[nodiscard]] SpzSizes SizesOf(int version, int degree);

// Where each attribute of all Gaussians lies.
template <typename Byte>
using SpzPlaces = std::array<Byte*, kSpzAttributes>;

// Fills the rows, `stride` values each, with the `count` Gaussians from place `first` on. Any
// thread.
void DecodeSpz(const SpzFacts& facts, const SpzPlaces<const std::byte>& places, std::size_t first,
               std::size_t count, std::size_t stride, float* rows);

// How many fractional bits suit the scene's positions: as many as fit 24 bits, but no more than
// give 16384 steps to the scene's farthest coordinate, or 12. Throws std::runtime_error when the
// scene reaches too far. Any thread.
[[nodiscard]] int SuitableFractionalBits(const RawScene& scene);

// Fills the places of version 3 with the `count` Gaussians from place `first` on. Any thread.
void EncodeSpz(const RawScene& scene, const SpzFacts& facts, const SpzPlaces<std::byte>& places,
               std::size_t first, std::size_t count);

}  // namespace vistrel
