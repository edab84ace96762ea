// SPDX-License-Identifier: GPL-3.0-or-later
// Tells how far a download has come.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>

#include "cli/long_step.h"
#include "download/resumable_download.h"

namespace vistrel {

// How fast bytes arrive, by those of the last seconds. One thread at a time.
class TransferSpeed {
  public:
    using Clock = std::chrono::steady_clock;

    // So many bytes are there.
    void Add(std::int64_t done, Clock::time_point now);
    // Bytes per second; nothing while it cannot be told.
    [[nodiscard]] std::optional<double> PerSecond() const;

  private:
    struct Moment {
        Clock::time_point time;
        std::int64_t done = 0;
    };
    std::deque<Moment> moments_;
};

// "612 of 1303 MB, 5.2 MB/s, 2 min 13 s left", without what is not known: 0 bytes of size, no
// speed.
[[nodiscard]] std::string TransferLine(std::int64_t done, std::int64_t size,
                                       std::optional<double> speed);

// On a terminal a line on standard error that changes, elsewhere one every ten seconds. Any thread.
class TransferDisplay : public DownloadWatcher {
  public:
    // `step` tells the steps without progress.
    explicit TransferDisplay(LongStep& step);
    ~TransferDisplay() override;

    void OnProgress(std::int64_t done, std::int64_t size) override;
    void OnNotice(const std::string& sentence) override;
    void OnStep(const std::string& name) override;
    void Pause(std::chrono::seconds time) override;

  private:
    using Clock = TransferSpeed::Clock;

    LongStep& step_;
    const bool isOnTerminal_;
    std::mutex mutex_;
    // Guarded by mutex_.
    TransferSpeed speed_;
    Clock::time_point next_;  // when to tell again
};

// Takes the line of progress off the terminal, if standard error is one. Any thread.
void EraseTransferLine();

}  // namespace vistrel
