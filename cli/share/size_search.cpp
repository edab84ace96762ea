// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/share/size_search.h"

#include <algorithm>
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

// On the line through both, where it reaches what is aimed at.
std::size_t CountBetween(const TriedCount& fitting, const TriedCount& tooLong, double room) {
    const double part =
        (room * kAimedAt - fitting.bytes) / std::max(1.0, tooLong.bytes - fitting.bytes);
    const double count = fitting.count + std::max(0.0, part) * (tooLong.count - fitting.count);
    return static_cast<std::size_t>(std::min(count, tooLong.count - 1.0));
}

}  // namespace

std::optional<PackedScene> FillRoom(std::size_t most, std::uint64_t room,
                                    const PackGaussianCount& pack) {
    const auto roomBytes = static_cast<double>(room);
    std::optional<PackedScene> best;
    TriedCount fitting = {0.0, 0.0};
    TriedCount tooLong = {0.0, 0.0};
    std::size_t count = most;
    for (int attempt = 1;; ++attempt) {
        std::string bytes = pack(count);
        const TriedCount tried = {static_cast<double>(count), static_cast<double>(bytes.size())};
        if (tried.bytes <= roomBytes) {
            best = {count, std::move(bytes)};
            fitting = tried;
            if (count == most || tried.bytes >= kGoodEnough * roomBytes) return best;
        } else {
            if (count == 1) return std::nullopt;
            tooLong = tried;
        }
        if (best && attempt >= kAttempts) return best;
        std::size_t next = CountBetween(fitting, tooLong, roomBytes);
        if (best && next <= best->count) return best;
        // Scenes of which a part is longer than its share come down to the room in small steps.
        if (attempt >= kAttempts) next = std::min(next, count / 2);
        count = std::max<std::size_t>(next, 1);
    }
}

}  // namespace vistrel
