// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/fetch/transfer_display.h"

#include <unistd.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <thread>

#include "cli/command.h"

namespace vistrel {
namespace {

constexpr double kMegabyte = 1e6;
constexpr std::chrono::milliseconds kOnTerminal{200};
constexpr std::chrono::seconds kElsewhere{10};

std::string TimeInWords(double seconds) {
    constexpr std::int64_t kMinute = 60;
    constexpr std::int64_t kHour = 60 * kMinute;
    const std::int64_t whole = std::llround(std::ceil(seconds));
    if (whole < kMinute) return std::to_string(whole) + " s";
    if (whole < kHour) {
        return std::to_string(whole / kMinute) + " min " + std::to_string(whole % kMinute) + " s";
    }
    return std::to_string(whole / kHour) + " h " + std::to_string(whole % kHour / kMinute) + " min";
}

std::string SpeedInWords(double speed) {
    constexpr double kKilobyte = 1e3;
    std::array<char, 32> text{};
    if (speed < kMegabyte) {
        std::snprintf(text.data(), text.size(), "%.0f kB/s", speed / kKilobyte);
    } else {
        std::snprintf(text.data(), text.size(), "%.1f MB/s", speed / kMegabyte);
    }
    return text.data();
}

std::string Megabytes(std::int64_t bytes) {
    return std::to_string(std::llround(std::floor(static_cast<double>(bytes) / kMegabyte)));
}

}  // namespace

void TransferSpeed::Add(std::int64_t done, Clock::time_point now) {
    constexpr std::chrono::milliseconds kStep{250};
    constexpr std::chrono::seconds kLength{15};
    // A download that has started anew.
    if (!moments_.empty() && done < moments_.back().done) moments_.clear();
    if (moments_.size() > 1 && now - moments_[moments_.size() - 2].time < kStep) {
        moments_.back() = {now, done};
    } else {
        moments_.push_back({now, done});
    }
    while (moments_.size() > 2 && now - moments_.front().time > kLength) moments_.pop_front();
}

std::optional<double> TransferSpeed::PerSecond() const {
    constexpr std::chrono::duration<double> kTellsNothing{1};
    if (moments_.empty()) return std::nullopt;
    const std::chrono::duration<double> time = moments_.back().time - moments_.front().time;
    const std::int64_t bytes = moments_.back().done - moments_.front().done;
    if (time < kTellsNothing || bytes == 0) return std::nullopt;
    return static_cast<double>(bytes) / time.count();
}

std::string TransferLine(std::int64_t done, std::int64_t size, std::optional<double> speed) {
    std::string line = Megabytes(done);
    if (size > 0) line += " of " + Megabytes(size);
    line += " MB";
    if (!speed) return line;
    line += ", " + SpeedInWords(*speed);
    if (size == 0) return line;
    return line + ", " + TimeInWords(static_cast<double>(size - done) / *speed) + " left";
}

TransferDisplay::TransferDisplay(LongStep& step)
    : step_(step), isOnTerminal_(isatty(STDERR_FILENO) == 1) {
    if (!isOnTerminal_) next_ = Clock::now() + kElsewhere;
}

TransferDisplay::~TransferDisplay() {
    EraseTransferLine();
}

void TransferDisplay::OnProgress(std::int64_t done, std::int64_t size) {
    const std::lock_guard lock(mutex_);
    const Clock::time_point now = Clock::now();
    speed_.Add(done, now);
    if (now < next_ && done != size) return;
    const std::string line = TransferLine(done, size, speed_.PerSecond());
    if (isOnTerminal_) {
        next_ = now + kOnTerminal;
        std::fprintf(stderr, "\r%s\033[K", line.c_str());
    } else {
        next_ = now + kElsewhere;
        Tell(line);
    }
}

void TransferDisplay::OnNotice(const std::string& sentence) {
    const std::lock_guard lock(mutex_);
    EraseTransferLine();
    Tell(sentence);
}

void TransferDisplay::OnStep(const std::string& name) {
    step_.Begin(name);
}

void TransferDisplay::Pause(std::chrono::seconds time) {
    std::this_thread::sleep_for(time);
}

void EraseTransferLine() {
    if (isatty(STDERR_FILENO) == 1) std::fputs("\r\033[K", stderr);
}

}  // namespace vistrel
