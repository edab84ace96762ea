// SPDX-License-Identifier: GPL-3.0-or-later
// How long the rest of a batch takes.
#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <string>

namespace vistrel {

class TimeLeft {
  public:
    using Duration = std::chrono::duration<double>;

    // A file has taken so long.
    void Add(Duration taken);

    // ", about 31 min left" for so many files, on the first of which `passed` was spent already:
    // each takes as long as the last ones did on average. Empty before the first has ended, and
    // where it would be no second.
    [[nodiscard]] std::string Text(int files, Duration passed) const;

  private:
    static constexpr std::size_t kRemembered = 10;

    std::deque<Duration> last_;
};

}  // namespace vistrel
