// SPDX-License-Identifier: GPL-3.0-or-later
// From the values of 3D Gaussian Splatting files to a scene's planes.
#pragma once

#include <cstddef>

#include "formats/raw_scene.h"
#include "render/gaussian_scene.h"

namespace vistrel {

// Packs `count` Gaussians into the planes from place `first` on, a multiple of 32. Up to 31 places
// behind the last one are filled with Gaussians that are not drawn, so both sides need room for a
// multiple of 32. A Gaussian with a value that is not finite is not drawn, unless it is the
// logarithm of a scale of zero or of an opacity of one. Runs on the best instructions that the
// processor has. Any thread.
void PackGaussians(const RawRows& rows, std::size_t count, const GaussianPlanes& planes,
                   std::size_t first);

}  // namespace vistrel
