// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/plain_model_output.h"

#include <cstddef>

namespace vistrel::test {
namespace {

AttributeArray Zeroes(std::int32_t count, std::int32_t components) {
    return {AttributeValues(static_cast<std::size_t>(count) * static_cast<std::size_t>(components)),
            count, components};
}

// Takes the values of one attribute out of rows that are `stride` values long.
void Fill(AttributeArray& array, const float* values, std::size_t stride, std::size_t column) {
    const auto components = static_cast<std::size_t>(array.components);
    for (std::size_t i = 0; i < static_cast<std::size_t>(array.count); ++i) {
        for (std::size_t k = 0; k < components; ++k) {
            array.data[i * components + k] = values[i * stride + column + k];
        }
    }
}

}  // namespace

GaussianSet PlainParseModelOutputs(std::span<const ModelOutput> outputs) {
    const std::vector<std::int64_t>& shape = outputs[0].shape;
    const auto count = static_cast<std::int32_t>(shape.size() == 3 ? shape[1] : shape[0]);
    GaussianSet set{Zeroes(count, 3), Zeroes(count, 3), Zeroes(count, 4),
                    Zeroes(count, 3), Zeroes(count, 1), count};
    if (outputs.size() == 1) {
        const float* rows = outputs[0].values.data();
        Fill(set.means, rows, 14, 0);
        Fill(set.scales, rows, 14, 3);
        Fill(set.quaternions, rows, 14, 6);
        Fill(set.colors, rows, 14, 10);
        Fill(set.opacities, rows, 14, 13);
    } else {
        Fill(set.means, outputs[0].values.data(), 3, 0);
        Fill(set.scales, outputs[1].values.data(), 3, 0);
        Fill(set.quaternions, outputs[2].values.data(), 4, 0);
        Fill(set.colors, outputs[3].values.data(), 3, 0);
        Fill(set.opacities, outputs[4].values.data(), 1, 0);
    }
    return set;
}

}  // namespace vistrel::test
