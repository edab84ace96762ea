// SPDX-License-Identifier: GPL-3.0-or-later
// Where a conversion puts its Gaussians.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "engine/gaussian_set.h"

namespace vistrel {

// Writes the share `keepRatio` of `gaussians` (camera space; linear scales, colours and opacities)
// to a file, with the camera of the photograph: focal length and size in pixels. What it throws of
// the standard exception family fails the conversion with its text. Called on the threads that
// convert, maybe on several at a time.
using GaussianWriter =
    std::function<void(const GaussianSet& gaussians, const std::wstring& outputPath, float focalPx,
                       std::uint32_t width, std::uint32_t height, float keepRatio)>;

}  // namespace vistrel
