// SPDX-License-Identifier: GPL-3.0-or-later
// The splat PLY writer in its plainest form: the formulas as they stand, one stream write per
// value, full sorts. What the fast one is compared with, for its result and its speed.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/disparity_range.h"
#include "engine/gaussian_set.h"

namespace vistrel::test {

[[nodiscard]] float PlainColor(float linear);
[[nodiscard]] float PlainOpacity(float linear);
[[nodiscard]] float PlainScale(float linear);

// The indices that a share of `keepRatio` keeps, ascending. Equal importances go by index, NaN
// counts as the least importance, an empty set stays empty.
[[nodiscard]] std::vector<std::int32_t> PlainKeptIndices(const GaussianSet& gaussians,
                                                         float keepRatio);

// The range over all depths `z` > 1e-6.
[[nodiscard]] DisparityRange PlainDisparityRange(std::vector<float> z);

// Same arguments, file and failure as WriteSplatPly; logs nothing.
void WritePlainSplatPly(const GaussianSet& gaussians, const std::wstring& outputPath, float focalPx,
                        std::uint32_t width, std::uint32_t height, float keepRatio);

}  // namespace vistrel::test
