// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/framing.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "render/picture.h"

namespace vistrel {
namespace {

constexpr float kLargestSide = 960.0F;  // of the pictures that are looked at
// Of an empty spot: away from the edge and along it. Narrower than what is promised, since small
// pictures round to whole pixels and a dark line at the edge is seen well.
constexpr float kWidest = 0.001F;
constexpr float kLongest = 0.004F;
constexpr float kStep = 1.0025F;

// How many pixels of each rectangle are covered.
class Coverage {
  public:
    explicit Coverage(const Picture& picture)
        : width_(picture.width),
          height_(picture.height),
          sums_((static_cast<std::size_t>(width_) + 1) * (static_cast<std::size_t>(height_) + 1)) {
        for (int row = 0; row < height_; ++row) {
            int inRow = 0;
            for (int column = 0; column < width_; ++column) {
                const std::size_t pixel =
                    static_cast<std::size_t>(row) * static_cast<std::size_t>(width_) +
                    static_cast<std::size_t>(column);
                if (picture.pixels[4 * pixel + 3] >= kCovered) ++inRow;
                Sum(column + 1, row + 1) = Sum(column + 1, row) + inRow;
            }
        }
    }

    // Whether the picture's middle, a share of 1 / zoom of its width and height, has an empty spot
    // at one of its edges.
    [[nodiscard]] bool HasEmptyBorder(float zoom) const {
        const auto inset = [zoom](int side) {
            return static_cast<int>(0.5F * static_cast<float>(side) * (1.0F - 1.0F / zoom));
        };
        const int left = inset(width_);
        const int top = inset(height_);
        const int right = width_ - left;
        const int bottom = height_ - top;
        const auto spot = [](float share, int side) {
            return 1 + static_cast<int>(share * static_cast<float>(side));
        };
        const int narrow = spot(kWidest, right - left);
        const int tall = spot(kLongest, bottom - top);
        for (int row = top; row + tall <= bottom; ++row) {
            if (IsEmpty(left, row, narrow, tall)) return true;
            if (IsEmpty(right - narrow, row, narrow, tall)) return true;
        }
        const int wide = spot(kLongest, right - left);
        const int low = spot(kWidest, bottom - top);
        for (int column = left; column + wide <= right; ++column) {
            if (IsEmpty(column, top, wide, low)) return true;
            if (IsEmpty(column, bottom - low, wide, low)) return true;
        }
        return false;
    }

  private:
    // Of the columns and rows before these.
    [[nodiscard]] int& Sum(int column, int row) { return sums_[Index(column, row)]; }
    [[nodiscard]] std::size_t Index(int column, int row) const {
        return static_cast<std::size_t>(row) * (static_cast<std::size_t>(width_) + 1) +
               static_cast<std::size_t>(column);
    }
    [[nodiscard]] bool IsEmpty(int left, int top, int across, int down) const {
        return sums_[Index(left + across, top + down)] - sums_[Index(left, top + down)] ==
               sums_[Index(left + across, top)] - sums_[Index(left, top)];
    }

    int width_;
    int height_;
    std::vector<int> sums_;
};

Coverage CoverageOf(SplatRenderer& renderer, const GaussianScene& scene,
                    const PinholeCamera& camera) {
    const int largest = std::max(camera.width, camera.height);
    const PinholeCamera small =
        Scaled(camera, std::min(1.0F, kLargestSide / static_cast<float>(largest)));
    Picture picture(small.width, small.height);
    renderer.Draw(scene, small, picture.Target());
    return Coverage(picture);
}

}  // namespace

PinholeCamera Zoomed(const PinholeCamera& camera, float zoom) {
    PinholeCamera zoomed = camera;
    const float middleX = 0.5F * static_cast<float>(camera.width);
    const float middleY = 0.5F * static_cast<float>(camera.height);
    zoomed.focalX *= zoom;
    zoomed.focalY *= zoom;
    zoomed.centreX = middleX + zoom * (camera.centreX - middleX);
    zoomed.centreY = middleY + zoom * (camera.centreY - middleY);
    return zoomed;
}

PinholeCamera Scaled(const PinholeCamera& camera, float scale) {
    PinholeCamera scaled = camera;
    const auto side = [scale](int pixels) {
        return std::max(1, static_cast<int>(std::lround(scale * static_cast<float>(pixels))));
    };
    scaled.width = side(camera.width);
    scaled.height = side(camera.height);
    const float x = static_cast<float>(scaled.width) / static_cast<float>(camera.width);
    const float y = static_cast<float>(scaled.height) / static_cast<float>(camera.height);
    scaled.focalX *= x;
    scaled.centreX *= x;
    scaled.focalY *= y;
    scaled.centreY *= y;
    return scaled;
}

std::optional<float> FillingZoom(SplatRenderer& renderer, const GaussianScene& scene,
                                 std::span<const PinholeCamera> cameras) {
    std::vector<Coverage> pictures;
    for (const PinholeCamera& camera : cameras) {
        pictures.push_back(CoverageOf(renderer, scene, camera));
    }
    for (float zoom = 1.0F; zoom <= kMostZoom; zoom *= kStep) {
        const bool isFull = std::ranges::none_of(
            pictures, [zoom](const Coverage& picture) { return picture.HasEmptyBorder(zoom); });
        if (isFull) return zoom;
    }
    return std::nullopt;
}

}  // namespace vistrel
