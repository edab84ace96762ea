// SPDX-License-Identifier: GPL-3.0-or-later
// Draws scenes on the processor, without a graphics card.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "render/gaussian_scene.h"
#include "render/pinhole_camera.h"
#include "render/splat_style.h"

namespace vistrel {

// Where a picture goes: `rowBytes` from one row to the next, rows from the top, four bytes for each
// pixel: sRGB red, green and blue over black, and how much of the background is covered.
struct PixelTarget {
    std::uint8_t* pixels = nullptr;
    std::size_t rowBytes = 0;
};

// The largest width and height of a picture.
inline constexpr int kLargestPictureSide = 32768;

// Draws one picture after the other and keeps its memory: about 40 bytes for each Gaussian of the
// largest scene, and for pairs 20 more (36 where there are harmonics). One object is for one thread
// at a time; several objects may draw the same scene.
class SplatRenderer {
  public:
    // Works on as many threads as `threads` says, the caller included; 0: one per core.
    explicit SplatRenderer(int threads = 0);
    ~SplatRenderer();
    SplatRenderer(const SplatRenderer&) = delete;
    SplatRenderer& operator=(const SplatRenderer&) = delete;

    // Draws `scene` as `camera` sees it, nearer Gaussians before farther ones by the depth of their
    // centres (or their distance, see SplatStyle) and, of equal depth, those first in the scene
    // first. For formulas and their sources
    // see projection.h and tile_blending.h. The bytes do not depend on the number of threads.
    // Throws std::invalid_argument for a picture of no or too large a size, and std::bad_alloc.
    void Draw(const GaussianScene& scene, const PinholeCamera& camera, const PixelTarget& target,
              const SplatStyle& style = {});

    // Both eyes of a pair in nine tenths of the time of two pictures: both are sorted at once. The
    // cameras differ in where they stand along their common row 0, in `centreX` and in the
    // picture's width only; otherwise throws std::invalid_argument.
    void DrawPair(const GaussianScene& scene, const PinholeCamera& leftCamera,
                  const PixelTarget& left, const PinholeCamera& rightCamera,
                  const PixelTarget& right, const SplatStyle& style = {});

    // How far away is what is seen: 1 / depth of the Gaussians' centres, blended as colours are,
    // for each pixel of the camera's picture, rows from the top; 0 where less than 1/255 is
    // covered. Throws std::invalid_argument also where there is not a number for each pixel.
    void DrawInverseDepths(const GaussianScene& scene, const PinholeCamera& camera,
                           std::span<float> inverseDepths);

    // What the object keeps, but for some hundred kilobytes for each thread.
    [[nodiscard]] std::size_t Bytes() const;

  private:
    class Buffers;
    std::unique_ptr<Buffers> buffers_;
};

}  // namespace vistrel
