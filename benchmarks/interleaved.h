// SPDX-License-Identifier: GPL-3.0-or-later
// Both sides of a comparison, measured by turns in one run: what slows the machine slows both.
#pragma once

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <vector>

namespace vistrel {

// What `work` takes of a clock, in seconds.
template <typename Work>
[[nodiscard]] double SecondsOf(clockid_t clock, const Work& work) {
    const auto now = [clock] {
        std::timespec time{};
        clock_gettime(clock, &time);
        return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
    };
    const double start = now();
    work();
    return now() - start;
}

// What `work` takes of this thread's processor time, the kernel's share for it included, in
// seconds: other programs on the machine disturb that little. For work that runs on one thread.
template <typename Work>
[[nodiscard]] double Seconds(const Work& work) {
    return SecondsOf(CLOCK_THREAD_CPUTIME_ID, work);
}

// The same for work on several threads: the sum over all of them.
template <typename Work>
[[nodiscard]] double SecondsOfAllThreads(const Work& work) {
    return SecondsOf(CLOCK_PROCESS_CPUTIME_ID, work);
}

// How long `work` takes, whatever else the machine does meanwhile.
template <typename Work>
[[nodiscard]] double ElapsedSeconds(const Work& work) {
    return SecondsOf(CLOCK_MONOTONIC, work);
}

// One figure of every round; the median is what a benchmark reports.
class Rounds {
  public:
    void Add(double figure) { figures_.push_back(figure); }

    // At least one round was added.
    [[nodiscard]] double Median() {
        const auto middle = figures_.begin() + static_cast<std::ptrdiff_t>(figures_.size() / 2);
        std::nth_element(figures_.begin(), middle, figures_.end());
        return *middle;
    }

  private:
    std::vector<double> figures_;
};

}  // namespace vistrel
