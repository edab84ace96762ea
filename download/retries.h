// SPDX-License-Identifier: GPL-3.0-or-later
// How often a server is asked again, and after which pauses.
#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace vistrel {

// One thread at a time.
class Retries {
  public:
    static constexpr int kPatient = 12;  // five minutes in all
    static constexpr int kHasty = 2;
    static constexpr std::chrono::seconds kLongestPause{60};
    // A server may ask for longer pauses than ours.
    static constexpr std::chrono::seconds kLongestAskedPause{600};

    // Gives up after `tries` failures in a row. `tell` gets a sentence before each pause, `pause`
    // waits.
    Retries(int tries, std::function<void(const std::string& sentence)> tell,
            std::function<void(std::chrono::seconds)> pause);

    // What failed before no longer counts.
    void Forget() { failures_ = 0; }

    // Returns when the next try is due: at once after the first failure, then after 1, 2, 4... 60
    // seconds, but not before the server wants it (0: it has not said). Throws std::runtime_error
    // with `reason` when there is to be no other try.
    void Failed(const std::string& reason, std::chrono::seconds asked);

  private:
    int tries_;
    std::function<void(const std::string&)> tell_;
    std::function<void(std::chrono::seconds)> pause_;
    int failures_ = 0;
};

}  // namespace vistrel
