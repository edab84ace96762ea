// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/seen_depths.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>

#include "render/framing.h"
#include "render/picture.h"

namespace vistrel {
namespace {

constexpr int kColumns = 384;
constexpr int kNothing = -1;
constexpr int kValues = 256;
constexpr float kNearestDepth = 0.01F;  // what is nearer does not show

// Depths of a scene's Gaussians as a camera has them.
class InverseDepths {
  public:
    InverseDepths(const GaussianScene& scene, const PinholeCamera& camera)
        : x_(scene.Planes().Of(Plane::X)),
          y_(scene.Planes().Of(Plane::Y)),
          z_(scene.Planes().Of(Plane::Z)),
          camera_(camera) {}

    // 0 for what is behind the camera.
    [[nodiscard]] float Of(std::size_t gaussian) const {
        const std::array<float, 3>& forward = camera_.rows[2];
        const float depth = forward[0] * (x_[gaussian] - camera_.position[0]) +
                            forward[1] * (y_[gaussian] - camera_.position[1]) +
                            forward[2] * (z_[gaussian] - camera_.position[2]);
        return depth > kNearestDepth ? 1.0F / depth : 0.0F;  // also for what is not a number
    }

  private:
    const float* x_;
    const float* y_;
    const float* z_;
    const PinholeCamera& camera_;
};

struct Bounds {
    float low = 0.0F;
    float high = 0.0F;
};

// Of nearly all Gaussians before the camera; a sample tells.
Bounds BoundsOf(const GaussianScene& scene, const InverseDepths& depths) {
    constexpr std::size_t kSamples = 65536;
    constexpr float kLeftOut = 0.001F;
    const std::size_t stride = std::max<std::size_t>(1, scene.Count() / kSamples);
    std::vector<float> found;
    for (std::size_t i = 0; i < scene.Count(); i += stride) {
        const float inverse = depths.Of(i);
        if (inverse > 0.0F) found.push_back(inverse);
    }
    if (found.empty()) return {};
    std::ranges::sort(found);
    const auto out = static_cast<std::size_t>(kLeftOut * static_cast<float>(found.size()));
    return {found[out], found[found.size() - 1 - out]};
}

// The scene in shades of red: black is `bounds.low` and full red `bounds.high`.
GaussianScene InShades(const GaussianScene& scene, const InverseDepths& depths,
                       const Bounds& bounds) {
    GaussianScene shaded(scene.Count(), 0);
    const std::size_t stride = scene.Planes().stride;
    std::memcpy(shaded.Planes().words, scene.Planes().words, kPlanes * stride * sizeof(float));
    float* const redGreen = shaded.Planes().Of(Plane::RedGreen);
    const float range = std::max(bounds.high - bounds.low, 1e-30F);
    for (std::size_t i = 0; i < scene.Count(); ++i) {
        const float shade = std::clamp((depths.Of(i) - bounds.low) / range, 0.0F, 1.0F);
        const auto red = static_cast<std::uint32_t>(std::lround(shade / kColorUnit));
        std::memcpy(redGreen + i, &red, sizeof red);
    }
    return shaded;
}

}  // namespace

SeenDepths::SeenDepths(SplatRenderer& renderer, const GaussianScene& scene,
                       const PinholeCamera& camera) {
    const InverseDepths depths(scene, camera);
    const Bounds bounds = BoundsOf(scene, depths);
    farthest_ = bounds.low;
    step_ = (bounds.high - bounds.low) / static_cast<float>(kValues - 1);
    const PinholeCamera small =
        Scaled(camera, static_cast<float>(kColumns) / static_cast<float>(camera.width));
    Picture picture(small.width, small.height);
    renderer.Draw(InShades(scene, depths, bounds), small, picture.Target());
    for (std::size_t i = 0; i < picture.pixels.size(); i += 4) {
        const int red = picture.pixels[i];
        const int covered = picture.pixels[i + 3];
        const int value = std::min((red * 255 + covered / 2) / std::max(covered, 1), kValues - 1);
        values_.push_back(static_cast<std::int16_t>(covered < kCovered ? kNothing : value));
    }
}

std::optional<DepthRange> SeenDepths::Range() const {
    std::array<std::int64_t, kValues> pixels{};
    std::int64_t seen = 0;
    for (const std::int16_t value : values_) {
        if (value == kNothing) continue;
        ++pixels[static_cast<std::size_t>(value)];
        ++seen;
    }
    if (seen == 0 || farthest_ <= 0.0F) return std::nullopt;
    const std::int64_t out = seen / 200;
    const auto depthOf = [this](std::size_t value) {
        return 1.0F / (farthest_ + step_ * static_cast<float>(value));
    };
    std::size_t low = 0;
    for (std::int64_t below = pixels[0]; below <= out; below += pixels[++low]) {
    }
    std::size_t high = kValues - 1;
    for (std::int64_t above = pixels[high]; above <= out; above += pixels[--high]) {
    }
    return DepthRange{depthOf(high), depthOf(low)};
}

}  // namespace vistrel
