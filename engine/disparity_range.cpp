// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/disparity_range.h"

#include <bit>
#include <cstdint>

namespace vistrel {
namespace {

constexpr std::size_t kMeanComponents = 3;
constexpr std::size_t kZ = 2;
constexpr float kNearest = 1e-6F;  // nearer depths, and those behind the camera, do not count

bool Counts(float depth) {
    return depth > kNearest;
}

// The bits of a depth that counts; they order like such depths.
std::uint32_t Key(float depth) {
    return std::bit_cast<std::uint32_t>(depth);
}

}  // namespace

void DisparityPercentiles::Count(std::span<const float> means) {
    for (std::size_t i = kZ; i < means.size(); i += kMeanComponents) {
        if (Counts(means[i])) upperHalves_.Add(UpperHalf(Key(means[i])));
    }
}

void DisparityPercentiles::EndFirstLook() {
    const std::size_t total = upperHalves_.Total();
    if (total == 0) return;
    // The nearest depth has the largest disparity: ascending disparities are descending depths.
    const auto place = [&](float share) {
        const auto rank = static_cast<std::size_t>(static_cast<float>(total) * share);
        return upperHalves_.FromLargest(rank);
    };
    low_.emplace(place(0.1F));
    high_.emplace(place(0.9F));
}

// Few depths share an upper half with a percentile, so that is asked first.
void DisparityPercentiles::CountAgain(std::span<const float> means) {
    if (!low_ || !high_) return;
    const std::uint16_t lowHalf = low_->place.half;
    const std::uint16_t highHalf = high_->place.half;
    for (std::size_t i = kZ; i < means.size(); i += kMeanComponents) {
        const std::uint32_t key = Key(means[i]);
        const bool isLow = UpperHalf(key) == lowHalf;
        const bool isHigh = UpperHalf(key) == highHalf;
        if (!(isLow || isHigh) || !Counts(means[i])) continue;
        if (isLow) low_->lowerHalves.Add(LowerHalf(key));
        if (isHigh) high_->lowerHalves.Add(LowerHalf(key));
    }
}

DisparityRange DisparityPercentiles::Range() const {
    if (!low_ || !high_) return {};
    return {low_->Disparity(), high_->Disparity()};
}

float DisparityPercentiles::Percentile::Disparity() const {
    const std::uint16_t lower = lowerHalves.FromLargest(place.rank).half;
    return 1.0F / std::bit_cast<float>(JoinHalves(place.half, lower));
}

}  // namespace vistrel
