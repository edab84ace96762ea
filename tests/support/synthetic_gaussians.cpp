// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/synthetic_gaussians.h"

#include <cmath>
#include <cstddef>
#include <random>

namespace vistrel::test {
namespace {

template <typename Function>
AttributeArray Attribute(std::int32_t count, std::int32_t components, Function value) {
    AttributeArray array{{}, count, components};
    array.data.resize(static_cast<std::size_t>(count) * static_cast<std::size_t>(components));
    for (float& element : array.data) element = value();
    return array;
}

}  // namespace

GaussianSet SyntheticGaussians(std::int32_t count, std::uint32_t seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> unit(0.0F, 1.0F);
    std::normal_distribution<float> normal;
    GaussianSet set;
    set.count = count;
    set.means = Attribute(count, 3, [&] { return std::exp(1.5F + normal(random)); });
    set.scales = Attribute(count, 3, [&] { return std::exp(-6.0F + normal(random)); });
    set.quaternions = Attribute(count, 4, [&] { return normal(random); });
    set.colors = Attribute(count, 3, [&] { return unit(random) * unit(random); });
    set.opacities = Attribute(count, 1, [&] { return 1.0F - unit(random) * unit(random); });
    return set;
}

}  // namespace vistrel::test
