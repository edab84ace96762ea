// SPDX-License-Identifier: GPL-3.0-or-later
// Choosing the Gaussians of a scene that go into a file.
#pragma once

#include <cstddef>

#include "formats/raw_scene.h"

namespace vistrel {

// Leaves out the Gaussians that not every format can hold, in place: those with a position, colour,
// rotation or harmonic that is not finite, with a rotation of length 0, with a logit or a logarithm
// of a scale that is not a number, and with an infinite scale. The others stay in their order. It
// takes a byte for each Gaussian. Throws std::bad_alloc. Any thread.
void LeaveOutUnwritable(RawScene& scene);

// How many of `count` Gaussians a share of `keepRatio` keeps: the product, in single precision, cut
// to a whole number, at least one where there is one; all of them from 1 on. Any thread.
[[nodiscard]] std::size_t ThinnedCount(std::size_t count, float keepRatio);

// The `count` most important Gaussians, or all where there are not as many, in their order.
// Importance is scale_y scale_x scale_z opacity, in single precision and this order; among equals
// the first ones are kept, and an importance that is not a number ranks below all others. Beside
// the result it takes four bytes for each Gaussian of the scene. Throws std::bad_alloc. Any thread.
[[nodiscard]] RawScene ThinnedTo(const RawScene& scene, std::size_t count);

}  // namespace vistrel
