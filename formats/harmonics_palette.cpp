// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/harmonics_palette.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <numeric>
#include <span>
#include <utility>

namespace vistrel {
namespace {

constexpr std::size_t kMostEntries = std::size_t{1} << 16;

// Harmonics are compared as small whole numbers, of which processors multiply eight at a time. The
// sum of all products fits 32 bits.
constexpr std::size_t kPointSize = 48;
constexpr float kMostCoordinate = 4095.0F;

using Point = std::array<std::int16_t, kPointSize>;
using Centre = std::array<double, kPointSize>;

constexpr std::size_t kTransposed = 4096;  // Gaussians at a time

// The harmonics of all Gaussians, one after the other; unused coordinates are 0.
struct Points {
    AlignedArray<Point> all;
    float unit = 1.0F;  // that a coordinate counts
};

Points PointsOf(const RawScene& scene, Workers& workers) {
    const std::size_t rows = RawValues(scene.Degree()) - kHarmonicsRow;
    std::vector<float> greatest(rows);
    workers.Run(rows, [&](std::size_t row, int) {
        const std::span<const float> values(scene.Row(kHarmonicsRow + row), scene.Count());
        for (const float value : values) greatest[row] = std::max(greatest[row], std::abs(value));
    });
    Points points = {.all = AlignedArray<Point>(scene.Count())};
    points.unit = std::max(*std::ranges::max_element(greatest) / kMostCoordinate, 1e-30F);
    workers.Run((scene.Count() + kTransposed - 1) / kTransposed, [&](std::size_t piece, int) {
        const std::size_t first = piece * kTransposed;
        const std::size_t end = std::min(first + kTransposed, scene.Count());
        std::fill(&points.all[first], &points.all[first] + (end - first), Point{});
        for (std::size_t row = 0; row < rows; ++row) {
            const float* const values = scene.Row(kHarmonicsRow + row);
            for (std::size_t i = first; i < end; ++i) {
                points.all[i][row] =
                    static_cast<std::int16_t>(std::lround(values[i] / points.unit));
            }
        }
    });
    return points;
}

// A plane between two centres.
class Border {
  public:
    Border(const Centre& first, const Centre& second) {
        double longest = 0.0;
        for (std::size_t i = 0; i < kPointSize; ++i) {
            longest = std::max(longest, std::abs(second[i] - first[i]));
        }
        const double scale = longest > 0.0 ? kMostCoordinate / longest : 0.0;
        for (std::size_t i = 0; i < kPointSize; ++i) {
            across_[i] = static_cast<std::int16_t>(std::lround((second[i] - first[i]) * scale));
            offset_ += across_[i] * (first[i] + second[i]) / 2.0;
        }
    }

    [[nodiscard]] bool IsBeyond(const Point& point) const {
        std::int32_t product = 0;
        for (std::size_t i = 0; i < kPointSize; ++i) {
            product += std::int32_t{across_[i]} * point[i];
        }
        return product > offset_;
    }

  private:
    Point across_{};
    double offset_ = 0.0;
};

// What is known of some points.
struct Gathered {
    std::size_t count = 0;
    std::array<std::int64_t, kPointSize> sums{};
    double squares = 0.0;

    void Add(const Point& point) {
        ++count;
        std::int64_t squared = 0;
        for (std::size_t i = 0; i < kPointSize; ++i) {
            sums[i] += point[i];
            squared += std::int32_t{point[i]} * point[i];
        }
        squares += static_cast<double>(squared);
    }

    [[nodiscard]] Centre Mean() const {
        Centre mean;
        std::ranges::transform(sums, mean.begin(), [this](std::int64_t sum) {
            return static_cast<double>(sum) / static_cast<double>(count);
        });
        return mean;
    }

    // Mean of the squares of the distances from the mean.
    [[nodiscard]] double Variance() const {
        const Centre mean = Mean();
        return (squares / static_cast<double>(count)) -
               std::inner_product(mean.begin(), mean.end(), mean.begin(), 0.0);
    }
};

// Gaussians that share a part of the palette.
struct Group {
    std::size_t first = 0;  // in the list of places
    std::size_t count = 0;
    std::size_t entries = 0;  // that it may have
};

// Of so many of a group's points, evenly spread, the halves' centres are found.
constexpr std::size_t kSample = 1024;
constexpr int kMoves = 3;  // of both centres

// With points in about that many dimensions, this power of what a group's points differ in all
// makes the errors' sum least.
constexpr double kDimensions = 6.0;
constexpr double kShare = kDimensions / (kDimensions + 2.0);

class Halving {
  public:
    Halving(const Points& points, std::span<std::uint32_t> places)
        : points_(points), places_(places) {}

    // The two halves, or one where the points are all the same.
    [[nodiscard]] std::vector<Group> Halves(const Group& group) const {
        const std::vector<std::uint32_t> sample = Sample(group);
        Gathered whole;
        for (const std::uint32_t place : sample) whole.Add(points_.all[place]);
        std::array<Gathered, 2> halves = AlongWidestAxis(sample, whole.Mean());
        for (int move = 0; move < kMoves; ++move) {
            if (halves[0].count == 0 || halves[1].count == 0) break;
            halves = Parted(sample, Border(halves[0].Mean(), halves[1].Mean()));
        }
        if (halves[0].count == 0 || halves[1].count == 0)
            return {Group{group.first, group.count, 1}};
        return Dealt(group, halves);
    }

  private:
    [[nodiscard]] std::vector<std::uint32_t> Sample(const Group& group) const {
        const std::size_t count = std::min(group.count, kSample);
        std::vector<std::uint32_t> sample(count);
        for (std::size_t i = 0; i < count; ++i) {
            sample[i] = places_[group.first + (i * group.count / count)];
        }
        return sample;
    }

    [[nodiscard]] std::array<Gathered, 2> AlongWidestAxis(std::span<const std::uint32_t> sample,
                                                          const Centre& mean) const {
        Centre squares{};
        for (const std::uint32_t place : sample) {
            const Point& point = points_.all[place];
            for (std::size_t i = 0; i < kPointSize; ++i) {
                const double apart = point[i] - mean[i];
                squares[i] += apart * apart;
            }
        }
        const auto axis =
            static_cast<std::size_t>(std::ranges::max_element(squares) - squares.begin());
        std::array<Gathered, 2> halves;
        for (const std::uint32_t place : sample) {
            const Point& point = points_.all[place];
            halves[point[axis] > mean[axis] ? 1 : 0].Add(point);
        }
        return halves;
    }

    [[nodiscard]] std::array<Gathered, 2> Parted(std::span<const std::uint32_t> sample,
                                                 const Border& border) const {
        std::array<Gathered, 2> halves;
        for (const std::uint32_t place : sample) {
            const Point& point = points_.all[place];
            halves[border.IsBeyond(point) ? 1 : 0].Add(point);
        }
        return halves;
    }

    [[nodiscard]] std::vector<Group> Dealt(const Group& group,
                                           const std::array<Gathered, 2>& halves) const {
        const Border border(halves[0].Mean(), halves[1].Mean());
        const std::span<std::uint32_t> members = places_.subspan(group.first, group.count);
        std::vector<std::uint32_t> beyond;
        std::size_t count = 0;
        for (const std::uint32_t place : members) {
            if (border.IsBeyond(points_.all[place])) {
                beyond.push_back(place);
            } else {
                members[count++] = place;
            }
        }
        std::ranges::copy(beyond, members.subspan(count).begin());
        if (count == 0 || count == group.count) return {Group{group.first, group.count, 1}};
        const double before =
            std::pow(std::max(halves[0].Variance(), 0.0) * static_cast<double>(count), kShare);
        const double behind = std::pow(
            std::max(halves[1].Variance(), 0.0) * static_cast<double>(beyond.size()), kShare);
        const double share = before + behind > 0.0 ? before / (before + behind) : 0.5;
        const std::size_t entries = std::min(group.entries, group.count);
        const auto wanted =
            static_cast<std::size_t>(std::llround(share * static_cast<double>(entries)));
        const std::size_t least = entries - std::min(entries - 1, beyond.size());
        const std::size_t first = std::clamp(wanted, least, std::min(entries - 1, count));
        return {Group{group.first, count, first},
                Group{group.first + count, beyond.size(), entries - first}};
    }

    const Points& points_;
    const std::span<std::uint32_t> places_;
};

// Halves until no group may have more than one entry.
std::vector<Group> FinalGroups(const Points& points, std::span<std::uint32_t> places,
                               Workers& workers) {
    const Halving halving(points, places);
    std::vector<Group> groups = {Group(0, places.size(), PaletteSizeFor(places.size()))};
    const auto isOpen = [](const Group& group) { return group.entries > 1; };
    while (std::ranges::any_of(groups, isOpen)) {
        std::vector<std::vector<Group>> halves(groups.size());
        workers.Run(groups.size(), [&](std::size_t i, int) {
            halves[i] = isOpen(groups[i]) ? halving.Halves(groups[i]) : std::vector{groups[i]};
        });
        groups.clear();
        for (const std::vector<Group>& both : halves) {
            groups.insert(groups.end(), both.begin(), both.end());
        }
    }
    return groups;
}

}  // namespace

std::size_t PaletteSizeFor(std::size_t gaussians) {
    return std::min(std::bit_floor(gaussians), kMostEntries);
}

HarmonicsPalette MakeHarmonicsPalette(const RawScene& scene, Workers& workers) {
    const std::size_t values = RawValues(scene.Degree()) - kHarmonicsRow;
    const Points points = PointsOf(scene, workers);
    AlignedArray<std::uint32_t> places(scene.Count());
    std::iota(places.data(), places.data() + places.size(), 0U);
    const std::vector<Group> groups = FinalGroups(points, {places.data(), places.size()}, workers);
    HarmonicsPalette palette = {.entries = std::vector<float>(groups.size() * values),
                                .labels = AlignedArray<std::uint16_t>(scene.Count())};
    workers.Run(groups.size(), [&](std::size_t entry, int) {
        Gathered members;
        for (std::size_t i = 0; i < groups[entry].count; ++i) {
            const std::uint32_t place = places[groups[entry].first + i];
            members.Add(points.all[place]);
            palette.labels[place] = static_cast<std::uint16_t>(entry);
        }
        const Centre mean = members.Mean();
        for (std::size_t i = 0; i < values; ++i) {
            palette.entries[(entry * values) + i] = static_cast<float>(mean[i] * points.unit);
        }
    });
    return palette;
}

}  // namespace vistrel
