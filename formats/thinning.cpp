// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/thinning.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "base/key_histogram.h"

namespace vistrel {
namespace {

// A value that the rest of its row's Gaussian can be written with.
bool CanBeWritten(std::size_t row, float value) {
    if (row == kOpacityRow) return !std::isnan(value);
    if (row >= kScaleRow && row < kScaleRow + 3) {
        return value < std::numeric_limits<float>::infinity();
    }
    return std::isfinite(value);
}

bool IsRotation(const RawScene& scene, std::size_t i) {
    for (std::size_t k = 0; k < 4; ++k) {
        if (scene.Row(kRotationRow + k)[i] != 0.0F) return true;
    }
    return false;
}

// Keys that order like the importance, equal for equal ones; zero for NaN.
std::vector<std::uint32_t> ImportanceKeys(const RawScene& scene) {
    const float* const logit = scene.Row(kOpacityRow);
    const float* const x = scene.Row(kScaleRow);
    const float* const y = scene.Row(kScaleRow + 1);
    const float* const z = scene.Row(kScaleRow + 2);
    std::vector<std::uint32_t> keys(scene.Count());
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const float opacity = 1.0F / (1.0F + std::exp(-logit[i]));
        const float importance = std::exp(y[i]) * std::exp(x[i]) * std::exp(z[i]) * opacity;
        // Never negative, so the bits order as they are; one above the key of NaN.
        keys[i] = std::isnan(importance) ? 0 : std::bit_cast<std::uint32_t>(importance) + 1;
    }
    return keys;
}

// The least key that is kept, and how many Gaussians with exactly this key are.
struct LeastKept {
    std::uint32_t key = 0;
    std::size_t equals = 0;
};

// 1 <= keep <= keys.size().
LeastKept FindLeastKept(const std::vector<std::uint32_t>& keys, std::size_t keep) {
    KeyHistogram upperHalves;
    for (const std::uint32_t key : keys) upperHalves.Add(UpperHalf(key));
    const auto [upper, rank] = upperHalves.FromLargest(keep - 1);

    KeyHistogram lowerHalves;
    for (const std::uint32_t key : keys) {
        if (UpperHalf(key) == upper) lowerHalves.Add(LowerHalf(key));
    }
    const auto [lower, larger] = lowerHalves.FromLargest(rank);
    return {JoinHalves(upper, lower), larger + 1};
}

// Turns the keys into 1 for what is kept and 0 for the rest.
void MarkKept(std::size_t keep, std::vector<std::uint32_t>& keys) {
    auto [least, equals] = FindLeastKept(keys, keep);
    for (std::uint32_t& key : keys) {
        const bool kept = key > least || (key == least && equals > 0);
        if (key == least && kept) --equals;
        key = kept ? 1 : 0;
    }
}

// Copies the values of a row that are kept to the front of another, which may be the same one.
template <typename Flag>
void CopyKept(const std::vector<Flag>& kept, const float* from, float* to) {
    for (std::size_t i = 0; i < kept.size(); ++i) {
        if (kept[i] != 0) *to++ = from[i];
    }
}

}  // namespace

void LeaveOutUnwritable(RawScene& scene) {
    std::vector<std::uint8_t> kept(scene.Count());
    for (std::size_t i = 0; i < kept.size(); ++i) kept[i] = IsRotation(scene, i) ? 1 : 0;
    const std::size_t rows = RawValues(scene.Degree());
    for (std::size_t row = 0; row < rows; ++row) {
        const float* const values = scene.Row(row);
        for (std::size_t i = 0; i < kept.size(); ++i) {
            if (!CanBeWritten(row, values[i])) kept[i] = 0;
        }
    }
    const auto count = static_cast<std::size_t>(std::ranges::count(kept, 1));
    if (count == scene.Count()) return;
    for (std::size_t row = 0; row < rows; ++row) CopyKept(kept, scene.Row(row), scene.Row(row));
    scene.Shorten(count);
}

std::size_t ThinnedCount(std::size_t count, float keepRatio) {
    if (count == 0 || keepRatio >= 1.0F) return count;
    const float product = static_cast<float>(count) * keepRatio;
    return product >= 1.0F ? static_cast<std::size_t>(product) : 1;
}

RawScene ThinnedTo(const RawScene& scene, std::size_t count) {
    SceneFacts facts = scene.Facts();
    facts.count = std::min(count, scene.Count());
    RawScene thinned(facts);
    if (facts.count == 0) return thinned;
    std::vector<std::uint32_t> kept = ImportanceKeys(scene);
    MarkKept(facts.count, kept);
    for (std::size_t row = 0; row < RawValues(facts.degree); ++row) {
        CopyKept(kept, scene.Row(row), thinned.Row(row));
    }
    return thinned;
}

}  // namespace vistrel
