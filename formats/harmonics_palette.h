// SPDX-License-Identifier: GPL-3.0-or-later
// Harmonics of a scene by few examples: each Gaussian takes those of the palette that are near its
// own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/aligned_array.h"
#include "base/workers.h"
#include "formats/raw_scene.h"

namespace vistrel {

struct HarmonicsPalette {
    // The harmonics' values of each entry in the order of RawScene's rows, one entry after the
    // other.
    std::vector<float> entries;
    AlignedArray<std::uint16_t> labels;  // entry of each Gaussian
};

// How large a palette for so many Gaussians is at most: the power of 2 next below, up to 65,536.
[[nodiscard]] std::size_t PaletteSizeFor(std::size_t gaussians);

// A palette for a scene with finite harmonics of degree 1 or more. It halves the Gaussians into
// groups whose halves differ most, and halves those again, with more of the palette for the half
// that differs more in itself. That takes as many steps as the palette's size has binary digits,
// where k-means needs one for each entry. Equal for any number of threads. Throws std::bad_alloc.
[[nodiscard]] HarmonicsPalette MakeHarmonicsPalette(const RawScene& scene, Workers& workers);

}  // namespace vistrel
