// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/convert/time_left.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace vistrel {
namespace {

std::string Rounded(double seconds) {
    constexpr double kMinute = 60;
    constexpr double kHour = 3600;
    constexpr double kSmallest = 1.5;  // of a unit, before it is used
    if (seconds < kSmallest * kMinute) return std::to_string(std::lround(seconds)) + " s";
    if (seconds < kSmallest * kHour) return std::to_string(std::lround(seconds / kMinute)) + " min";
    return std::to_string(std::lround(seconds / kHour)) + " h";
}

}  // namespace

void TimeLeft::Add(Duration taken) {
    last_.push_back(taken);
    if (last_.size() > kRemembered) last_.pop_front();
}

std::string TimeLeft::Text(int files, Duration passed) const {
    if (last_.empty()) return {};
    const Duration each =
        std::accumulate(last_.begin(), last_.end(), Duration{}) / static_cast<double>(last_.size());
    const Duration left = each * (files - 1) + std::max(each - passed, Duration{});
    return left < Duration{1} ? "" : ", about " + Rounded(left.count()) + " left";
}

}  // namespace vistrel
