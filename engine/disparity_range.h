// SPDX-License-Identifier: GPL-3.0-or-later
// The range of disparities (reciprocal depths) that a splat PLY states.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "base/key_histogram.h"

namespace vistrel {

struct DisparityRange {
    float low = 0.0F;   // 10th percentile
    float high = 1.0F;  // 90th percentile
};

// Finds the elements trunc(0.1 n) and trunc(0.9 n) (single precision) of the ascending list of 1/z
// over the n Gaussians with z > 1e-6; 0 and 1 where there is none. Bit for bit what sorting gives:
// positive floats order like their bits, and division never reverses an order.
//
// Means are x, y, z of one Gaussian after the other. All of them pass through Count, then, after
// one EndFirstLook and in any order, the same through CountAgain. At most 768 KiB. One object, one
// thread.
class DisparityPercentiles {
  public:
    void Count(std::span<const float> means);
    void EndFirstLook();
    void CountAgain(std::span<const float> means);
    [[nodiscard]] DisparityRange Range() const;

  private:
    // One of the two percentiles: its depth's upper half and, counted in the second look, the lower
    // halves of all depths that share it.
    struct Percentile {
        KeyHistogram::Place place;
        KeyHistogram lowerHalves;

        explicit Percentile(KeyHistogram::Place where) : place(where) {}
        [[nodiscard]] float Disparity() const;
    };

    KeyHistogram upperHalves_;
    std::optional<Percentile> low_;
    std::optional<Percentile> high_;
};

}  // namespace vistrel
