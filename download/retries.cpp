// SPDX-License-Identifier: GPL-3.0-or-later
#include "download/retries.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace vistrel {
namespace {

// After so many failures in a row.
std::chrono::seconds OwnPause(int failures) {
    constexpr int kLastDoubling = 8;
    if (failures <= 1) return std::chrono::seconds(0);
    const std::chrono::seconds pause(1 << std::min(failures - 2, kLastDoubling));
    return std::min(pause, Retries::kLongestPause);
}

}  // namespace

Retries::Retries(int tries, std::function<void(const std::string& sentence)> tell,
                 std::function<void(std::chrono::seconds)> pause)
    : tries_(tries), tell_(std::move(tell)), pause_(std::move(pause)) {}

void Retries::Failed(const std::string& reason, std::chrono::seconds asked) {
    if (++failures_ >= tries_) throw std::runtime_error(reason);
    const std::chrono::seconds granted = std::min(asked, kLongestAskedPause);
    const std::chrono::seconds pause = std::max(OwnPause(failures_), granted);
    std::string sentence = reason;
    if (asked > granted) {
        sentence += "; the server asks for a pause of " + std::to_string(asked.count()) + " s";
    }
    if (pause.count() == 0) {
        tell_(sentence + ". Trying again.");
        return;
    }
    tell_(sentence + ". Trying again in " + std::to_string(pause.count()) + " s.");
    pause_(pause);
}

}  // namespace vistrel
