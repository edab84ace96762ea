// SPDX-License-Identifier: GPL-3.0-or-later
// Scenes in files whose axes point the other way.
#pragma once

#include <array>

#include "formats/raw_scene.h"

namespace vistrel {

// 1, or -1 for an axis that points the other way.
using AxisSigns = std::array<float, 3>;

// What each value of a Gaussian, in RawScene's order, is multiplied by when the axes change their
// signs; the same factors lead back. Those behind the last value of `degree` have no meaning.
using RowSigns = std::array<float, RawValues(kMostHarmonicsDegree)>;
[[nodiscard]] RowSigns SignsOfRows(const AxisSigns& axes, int degree);

}  // namespace vistrel
