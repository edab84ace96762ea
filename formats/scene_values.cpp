// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/scene_values.h"

#include <cmath>

namespace vistrel {

float OpacityOfLogit(float logit) {
    return 1.0F / (1.0F + std::exp(-logit));
}

float LogitOfOpacity(float opacity) {
    return std::log(opacity / (1.0F - opacity));
}

std::array<double, 4> UnitRotation(const RawScene& scene, std::size_t place) {
    std::array<double, 4> rotation{};
    double sum = 0.0;
    for (std::size_t k = 0; k < rotation.size(); ++k) {
        rotation[k] = static_cast<double>(scene.Row(kRotationRow + k)[place]);
        sum += rotation[k] * rotation[k];
    }
    const double length = std::sqrt(sum);
    if (!(length > 0.0)) return {1.0, 0.0, 0.0, 0.0};
    for (double& part : rotation) part /= length;
    return rotation;
}

}  // namespace vistrel
