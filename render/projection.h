// SPDX-License-Identifier: GPL-3.0-or-later
// From Gaussians in space to Gaussians on the picture.
#pragma once

#include <cstddef>
#include <cstdint>

#include "render/gaussian_scene.h"
#include "render/pinhole_camera.h"
#include "render/splat_style.h"

namespace vistrel {

// The picture is drawn in square tiles of this many pixels.
inline constexpr int kTileSide = 32;

// Contributions below 1/255 are left out; this is log2(255).
inline constexpr float kReachAboveOne = 7.994353437F;

// A Gaussian on the picture, in two halves. At the distance (dx, dy) from its middle it covers
//   2^(log2(opacity) - across (dx + lean dy)^2 - down dy^2).
struct SplatShape {
    float x;  // middle; pixels, the first pixel's centre is 0.5
    float y;
    float across;  // per pixel squared; positive
    float lean;
};
struct SplatLook {
    float down;              // per pixel squared; positive
    std::uint32_t redGreen;  // as in Plane::RedGreen
    std::uint32_t blueOpacity;
    float depth;  // or the distance from the camera, as the style says; positive
};

// Neighbouring tiles of a row or a column of tiles, the last one included.
struct TileRange {
    std::uint16_t first;
    std::uint16_t last;
};
inline constexpr TileRange kNoTiles = {1, 0};

// Where the splats of a piece of a scene go.
struct ProjectedPiece {
    SplatShape* shapes = nullptr;
    SplatLook* looks = nullptr;
    // The tiles that the pixels in reach lie in. Of a Gaussian that does not show both are
    // kNoTiles, and its shape and look are not to be used.
    TileRange* columns = nullptr;
    TileRange* rows = nullptr;
};

// Projects the Gaussians of places `first` to `first + count`, both multiples of 32, to the places
// from 0 on of `piece`.
//
// The covariance goes through the linear form of the projection: EWA splatting (Zwicker, Pfister,
// van Baar, Gross, "EWA Volume Splatting", IEEE Visualization 2001); low-pass filter of 0.3 pixels
// squared, opacity threshold of 1/255 and colours from spherical harmonics as in Kerbl, Kopanas,
// Leimkuehler, Drettakis, "3D Gaussian Splatting for Real-Time Radiance Field Rendering", ACM
// Transactions on Graphics 42(4), 2023. What is nearer than the style says, or not finite when
// projected, does not show. The style's share is the caller's business. Runs on the best
// instructions that the processor has. Any thread.
void ProjectGaussians(const GaussianPlanes& planes, const PinholeCamera& camera,
                      const SplatStyle& style, std::size_t first, std::size_t count,
                      const ProjectedPiece& piece);

}  // namespace vistrel
