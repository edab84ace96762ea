// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/seen_depths.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "render/framing.h"

namespace vistrel {

std::optional<DepthRange> SeenDepths(SplatRenderer& renderer, const GaussianScene& scene,
                                     const PinholeCamera& camera) {
    constexpr float kColumns = 400.0F;
    constexpr std::size_t kOneOf = 200;  // is left out on each side
    const PinholeCamera small =
        Scaled(camera, std::min(1.0F, kColumns / static_cast<float>(camera.width)));
    std::vector<float> inverse(static_cast<std::size_t>(small.width) *
                               static_cast<std::size_t>(small.height));
    renderer.DrawInverseDepths(scene, small, inverse);
    std::erase_if(inverse, [](float value) { return !(value > 0.0F); });
    if (inverse.empty()) return std::nullopt;
    std::ranges::sort(inverse);
    const std::size_t out = inverse.size() / kOneOf;
    return DepthRange{1.0F / inverse[inverse.size() - 1 - out], 1.0F / inverse[out]};
}

}  // namespace vistrel
