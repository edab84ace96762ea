// SPDX-License-Identifier: GPL-3.0-or-later
// Spherical harmonics of things that are turned.
#pragma once

#include <array>
#include <cstddef>

#include "formats/raw_scene.h"

namespace vistrel {

// Rows of a matrix, one behind the other.
using Matrix3 = std::array<double, 9>;

class HarmonicsRotation {
  public:
    // `rotation` leads from the directions before to those afterwards. Turns by right angles about
    // an axis are exact.
    HarmonicsRotation(const Matrix3& rotation, int degree);

    // Turns the harmonics of the `count` Gaussians whose values are in rows of `stride` each.
    void Turn(std::size_t count, std::size_t stride, float* rows) const;

  private:
    static constexpr std::size_t kFunctions = HarmonicsCount(kMostHarmonicsDegree);

    int degree_;
    // By the function afterwards, then the one before; zero for those of different degrees.
    std::array<std::array<float, kFunctions>, kFunctions> factors_ = {};
};

}  // namespace vistrel
