// SPDX-License-Identifier: GPL-3.0-or-later
// How Gaussians are shown.
#pragma once

#include <cstddef>

namespace vistrel {

// How many Gaussians in a row a part of the scene is taken from.
inline constexpr std::size_t kShareBlock = 1024;

// The default is what 3D Gaussian Splatting does.
struct SplatStyle {
    // Depth below which nothing shows; positive.
    float nearest = 0.01F;
    // Whether the order of drawing goes by how far centres are from the camera, not by their depth.
    bool byDistance = false;
    // Whether Gaussians that the low-pass filter widens get fainter by as much, so that those
    // smaller than a pixel cover no more than their own area.
    bool keepsArea = false;
    // The largest value of a channel of a colour that harmonics were added to; at most 8.
    float brightest = 8.0F;
    // The part of the Gaussians that is drawn, over 0 to 1: the first of each kShareBlock, and in
    // these a multiple of 32.
    float share = 1.0F;
    // Factor on the standard deviations.
    float enlargement = 1.0F;
};

}  // namespace vistrel
