// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/decimation.h"

#include <bit>
#include <cmath>
#include <cstddef>

#include "base/key_histogram.h"

namespace vistrel {
namespace {

// A key that orders like the importance, equal for equal ones; zero for NaN.
std::uint32_t ImportanceKey(const GaussianSet& gaussians, std::int32_t index) {
    const auto i = static_cast<std::size_t>(index);
    const float* scale = &gaussians.scales.data[3 * i];
    const float importance = scale[1] * scale[0] * scale[2] * gaussians.opacities.data[i];
    if (std::isnan(importance)) return 0;
    constexpr std::uint32_t kSign = 0x80000000U;
    const auto bits = std::bit_cast<std::uint32_t>(importance + 0.0F);  // makes -0 the same as 0
    return (bits & kSign) != 0 ? ~bits : bits | kSign;
}

// The least key that is kept, and how many Gaussians with exactly this key are.
struct Threshold {
    std::uint32_t key = 0;
    std::size_t equals = 0;
};

Threshold FindThreshold(const GaussianSet& gaussians, std::int32_t keep) {
    KeyHistogram upperHalves;
    for (std::int32_t i = 0; i < gaussians.count; ++i) {
        upperHalves.Add(UpperHalf(ImportanceKey(gaussians, i)));
    }
    const auto [upper, rank] = upperHalves.FromLargest(static_cast<std::size_t>(keep) - 1);

    KeyHistogram lowerHalves;
    for (std::int32_t i = 0; i < gaussians.count; ++i) {
        const std::uint32_t key = ImportanceKey(gaussians, i);
        if (UpperHalf(key) == upper) lowerHalves.Add(LowerHalf(key));
    }
    const auto [lower, larger] = lowerHalves.FromLargest(rank);
    return {JoinHalves(upper, lower), larger + 1};
}

}  // namespace

std::int32_t DecimatedCount(std::int32_t count, float keepRatio) {
    const float product = static_cast<float>(count) * keepRatio;
    if (count == 0) return 0;
    return product < 1.0F ? 1 : static_cast<std::int32_t>(product);
}

std::vector<std::int32_t> MostImportant(const GaussianSet& gaussians, std::int32_t keep) {
    std::vector<std::int32_t> kept;
    if (keep == 0) return kept;
    kept.reserve(static_cast<std::size_t>(keep));
    auto [threshold, equals] = FindThreshold(gaussians, keep);
    for (std::int32_t i = 0; i < gaussians.count; ++i) {
        const std::uint32_t key = ImportanceKey(gaussians, i);
        if (key < threshold || (key == threshold && equals == 0)) continue;
        if (key == threshold) --equals;
        kept.push_back(i);
    }
    return kept;
}

}  // namespace vistrel
