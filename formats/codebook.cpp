// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/codebook.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>

namespace vistrel {
namespace {

using Rows = std::vector<std::span<const float>>;
using Entries = std::array<float, kCodebookSize>;

constexpr std::size_t kFineBins = 1 << 16;
constexpr std::size_t kCoarseBins = 1 << 10;
constexpr std::size_t kFinePerCoarse = kFineBins / kCoarseBins;
constexpr std::size_t kSearchParts = 1 << 12;
constexpr int kRefinements = 100;  // later ones move no entry by a thousandth of its distance

// The values themselves where they are few enough, in ascending order.
std::optional<std::vector<float>> FewValues(const Rows& rows, float least) {
    std::vector<float> seen;
    for (const std::span<const float> row : rows) {
        for (const float given : row) {
            const float value = std::max(given, least);
            const auto place = std::ranges::lower_bound(seen, value);
            if (place != seen.end() && *place == value) continue;
            if (seen.size() == kCodebookSize) return {};
            seen.insert(place, value);
        }
    }
    return seen;
}

// How values spread over equal bins from the least to the greatest.
class Spread {
  public:
    Spread(const Rows& rows, float least) : weight_(kFineBins + 1), moment_(kFineBins + 1) {
        float low = std::numeric_limits<float>::max();
        float high = least;
        for (const std::span<const float> row : rows) {
            for (const float value : row) {
                low = std::min(low, value);
                high = std::max(high, value);
            }
        }
        least_ = std::max(low, least);
        const double greatest = high;
        width_ = (greatest - least_) / static_cast<double>(kFineBins);
        Weigh(CountValues(rows));
    }

    // Entries of which each stands for an equal share of the cube roots of the coarse bins'
    // weights: where the errors' squares are least once entries are many.
    [[nodiscard]] Entries FirstGuess() const {
        std::vector<double> share(kCoarseBins + 1);
        for (std::size_t bin = 0; bin < kCoarseBins; ++bin) {
            const std::size_t first = bin * kFinePerCoarse;
            share[bin + 1] =
                share[bin] + std::cbrt(weight_[first + kFinePerCoarse] - weight_[first]);
        }
        Entries entries;
        std::size_t bin = 0;
        for (std::size_t i = 0; i < kCodebookSize; ++i) {
            const double wanted = share.back() * (static_cast<double>(i) + 0.5) / kCodebookSize;
            while (bin + 1 < kCoarseBins && share[bin + 1] < wanted) ++bin;
            const double inBin = (wanted - share[bin]) / (share[bin + 1] - share[bin]);
            entries[i] = static_cast<float>(
                least_ + width_ * static_cast<double>(kFinePerCoarse) *
                             (static_cast<double>(bin) + std::clamp(inBin, 0.0, 1.0)));
        }
        return entries;
    }

    // Every entry moves to the mean of the bins that are nearer to it than to any other.
    void Refine(Entries& entries) const {
        std::size_t first = 0;
        for (std::size_t i = 0; i < kCodebookSize; ++i) {
            const std::size_t end =
                i + 1 < kCodebookSize
                    ? std::max(first, BinOf((double{entries[i]} + entries[i + 1]) / 2))
                    : kFineBins;
            const double weight = weight_[end] - weight_[first];
            if (weight > 0.0) {
                entries[i] = static_cast<float>((moment_[end] - moment_[first]) / weight);
            }
            first = end;
        }
    }

  private:
    [[nodiscard]] std::size_t BinOf(double value) const {
        return std::min(static_cast<std::size_t>(std::max(value - least_, 0.0) / width_),
                        kFineBins - 1);
    }

    [[nodiscard]] std::vector<std::uint32_t> CountValues(const Rows& rows) const {
        std::vector<std::uint32_t> counts(kFineBins);
        for (const std::span<const float> row : rows) {
            for (const float value : row) ++counts[BinOf(value)];
        }
        return counts;
    }

    // A bin weighs what its values are divided by the square root of how many are around it.
    void Weigh(const std::vector<std::uint32_t>& counts) {
        for (std::size_t coarse = 0; coarse < kCoarseBins; ++coarse) {
            const std::size_t first = coarse * kFinePerCoarse;
            double around = 0.0;
            for (std::size_t bin = first; bin < first + kFinePerCoarse; ++bin) {
                around += counts[bin];
            }
            const double each = around > 0.0 ? 1.0 / std::sqrt(around) : 0.0;
            for (std::size_t bin = first; bin < first + kFinePerCoarse; ++bin) {
                const double weight = each * counts[bin];
                const double centre = least_ + width_ * (static_cast<double>(bin) + 0.5);
                weight_[bin + 1] = weight_[bin] + weight;
                moment_[bin + 1] = moment_[bin] + weight * centre;
            }
        }
    }

    double least_ = 0.0;
    double width_ = 0.0;          // of a bin, above 0
    std::vector<double> weight_;  // of all bins before
    std::vector<double> moment_;  // those weights times the bins' centres
};

}  // namespace

Codebook::Codebook(const Rows& rows, float least) : least_(least) {
    if (const std::optional<std::vector<float>> few = FewValues(rows, least)) {
        entries_.fill(few->back());
        std::ranges::copy(*few, entries_.begin());
    } else {
        const Spread spread(rows, least);
        entries_ = spread.FirstGuess();
        for (int i = 0; i < kRefinements; ++i) spread.Refine(entries_);
    }
    Index();
}

void Codebook::KeepZero() {
    entries_[Nearest(0.0F)] = 0.0F;
    Index();
}

void Codebook::Index() {
    for (std::size_t i = 0; i + 1 < kCodebookSize; ++i) {
        borders_[i] = std::midpoint(entries_[i], entries_[i + 1]);
    }
    borders_.back() = entries_.back();
    const double first = entries_.front();
    const double range = entries_.back() - first;
    partsPerUnit_ = range > 0.0 ? static_cast<double>(kSearchParts - 1) / range : 0.0;
    starts_.resize(kSearchParts);
    std::size_t place = 0;
    for (std::size_t part = 0; part < kSearchParts; ++part) {
        const double begin = first + range * static_cast<double>(part) / (kSearchParts - 1);
        while (place + 1 < kCodebookSize && borders_[place] < begin) ++place;
        starts_[part] = static_cast<std::uint8_t>(place);
    }
}

std::uint8_t Codebook::Nearest(float value) const {
    const float wanted = std::max(value, least_);
    const double part = (double{wanted} - entries_.front()) * partsPerUnit_;
    std::size_t place =
        starts_[static_cast<std::size_t>(std::clamp<double>(part, 0.0, kSearchParts - 1))];
    while (place > 0 && wanted < borders_[place - 1]) --place;
    while (place + 1 < kCodebookSize && wanted > borders_[place]) ++place;
    return static_cast<std::uint8_t>(place);
}

}  // namespace vistrel
