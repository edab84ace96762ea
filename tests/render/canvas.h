// SPDX-License-Identifier: GPL-3.0-or-later
// A picture to draw into, and to look at.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "render/splat_renderer.h"

namespace vistrel::test {

class Canvas {
  public:
    Canvas(int width, int height)
        : rowBytes_(4 * static_cast<std::size_t>(width)),
          pixels_(rowBytes_ * static_cast<std::size_t>(height), kUntouched) {}

    [[nodiscard]] PixelTarget Target() { return {pixels_.data(), rowBytes_}; }
    [[nodiscard]] const std::vector<std::uint8_t>& Bytes() const { return pixels_; }
    // Red, green, blue, covered.
    [[nodiscard]] std::array<int, 4> At(int column, int row) const {
        const std::size_t start =
            static_cast<std::size_t>(row) * rowBytes_ + 4 * static_cast<std::size_t>(column);
        return {pixels_[start], pixels_[start + 1], pixels_[start + 2], pixels_[start + 3]};
    }

    static constexpr std::uint8_t kUntouched = 77;

  private:
    std::size_t rowBytes_;
    std::vector<std::uint8_t> pixels_;
};

[[nodiscard]] inline Canvas Drawn(const GaussianScene& scene, const PinholeCamera& camera,
                                  int threads = 1) {
    Canvas picture(camera.width, camera.height);
    SplatRenderer(threads).Draw(scene, camera, picture.Target());
    return picture;
}

}  // namespace vistrel::test
