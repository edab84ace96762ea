// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/share/size_search.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vistrel {
namespace {

constexpr double kAimedAt = 0.996;  // of the room
constexpr double kGoodEnough = 0.99;
constexpr int kAttempts = 4;

struct TriedCount {
    double count;
    double bytes;
};

// Where lengths that grow by a power of the count, which two of them tell, reach what is aimed at.
double CountForLength(const TriedCount& one, const TriedCount& other, double aim) {
    constexpr double kFlattest = 0.2;
    constexpr double kSteepest = 5.0;
    const double power = std::log(one.bytes / other.bytes) / std::log(one.count / other.count);
    const double usable = std::isfinite(power) ? std::clamp(power, kFlattest, kSteepest) : 1.0;
    return one.count * std::pow(aim / one.bytes, 1.0 / usable);
}

}  // namespace

std::optional<PackedScene> FillRoom(std::size_t most, std::uint64_t room,
                                    const PackGaussianCount& pack) {
    const auto roomBytes = static_cast<double>(room);
    std::optional<PackedScene> best;
    std::size_t tooMany = most;
    std::size_t count = most;
    std::optional<TriedCount> before;
    for (int attempt = 1;; ++attempt) {
        std::string bytes = pack(count);
        const TriedCount tried = {static_cast<double>(count), static_cast<double>(bytes.size())};
        if (tried.bytes <= roomBytes) {
            best = {count, std::move(bytes)};
            if (count == most || tried.bytes >= kGoodEnough * roomBytes) return best;
        } else {
            if (count == 1) return std::nullopt;
            tooMany = count;
        }
        const std::size_t least = best ? best->count + 1 : 1;
        if (best && (attempt >= kAttempts || least == tooMany)) return best;
        // Where four attempts were too long, something is out of proportion.
        const double next = attempt >= kAttempts ? tried.count / 2
                            : before ? CountForLength(tried, *before, kAimedAt * roomBytes)
                                     : tried.count * kAimedAt * roomBytes / tried.bytes;
        count = static_cast<std::size_t>(
            std::clamp(next, static_cast<double>(least), static_cast<double>(tooMany - 1)));
        before = tried;
    }
}

}  // namespace vistrel
