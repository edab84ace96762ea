// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/share/even_thinning.h"

#include <algorithm>
#include <cmath>

namespace vistrel {
namespace {

// Puts a zero behind each of the 16 lowest bits (Morton 1966).
std::uint32_t SpreadBits(std::uint32_t bits) {
    bits = (bits | bits << 8U) & 0x00FF00FFU;
    bits = (bits | bits << 4U) & 0x0F0F0F0FU;
    bits = (bits | bits << 2U) & 0x33333333U;
    return (bits | bits << 1U) & 0x55555555U;
}

// Where a Gaussian lies in the photograph, as a place on a curve through the picture that stays
// within a square before it goes on to the next. What lies beside the picture or behind the camera
// comes to its edge.
std::uint32_t PlaceOnCurve(const PhotographCamera& camera, float x, float y, float z) {
    const auto side = static_cast<float>(std::max(camera.width, camera.height));
    const auto step = [side](float pixels) {
        constexpr float kSteps = 65535.0F;
        const float place = kSteps * pixels / side;
        return static_cast<std::uint32_t>(place > 0.0F ? std::min(place, kSteps) : 0.0F);
    };
    if (!(z > 0.0F)) return SpreadBits(step(0.0F));
    return SpreadBits(step(camera.focalX * x / z + camera.centreX)) |
           SpreadBits(step(camera.focalY * y / z + camera.centreY)) << 1U;
}

}  // namespace

EvenThinning::EvenThinning(const RawScene& scene) : scene_(scene), order_(scene.Count()) {
    constexpr unsigned kHalf = 32;
    const float* const x = scene.Row(kPositionRow);
    const float* const y = scene.Row(kPositionRow + 1);
    const float* const z = scene.Row(kPositionRow + 2);
    for (std::size_t i = 0; i < order_.size(); ++i) {
        const std::uint64_t place = PlaceOnCurve(*scene.Facts().camera, x[i], y[i], z[i]);
        order_[i] = place << kHalf | i;
    }
    std::ranges::sort(order_);
}

RawScene EvenThinning::To(std::size_t count) const {
    const std::size_t all = order_.size();
    std::vector<std::uint32_t> kept(count);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t middle = (i * all / count + (i + 1) * all / count) / 2;
        kept[i] = static_cast<std::uint32_t>(order_[middle]);
    }
    std::ranges::sort(kept);
    SceneFacts facts = scene_.Facts();
    facts.count = count;
    RawScene thinned(facts);
    const float growth = 0.5F * std::log(static_cast<float>(all) / static_cast<float>(count));
    for (std::size_t row = 0; row < RawValues(facts.degree); ++row) {
        const bool isScale = row >= kScaleRow && row < kRotationRow;
        const float* const from = scene_.Row(row);
        float* const to = thinned.Row(row);
        for (std::size_t i = 0; i < count; ++i) to[i] = from[kept[i]] + (isScale ? growth : 0.0F);
    }
    return thinned;
}

}  // namespace vistrel
