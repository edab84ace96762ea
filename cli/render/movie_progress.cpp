// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/render/movie_progress.h"

#include <unistd.h>

#include <cmath>
#include <cstdio>

namespace vistrel {
namespace {

std::string InWords(std::chrono::duration<double> time) {
    constexpr long kMinute = 60;
    const long seconds = std::lround(std::ceil(time.count()));
    if (seconds < kMinute) return std::to_string(seconds) + " s";
    return std::to_string(seconds / kMinute) + " min " + std::to_string(seconds % kMinute) + " s";
}

}  // namespace

std::string ProgressLine(int done, int frames, std::chrono::duration<double> passed) {
    constexpr std::chrono::seconds kTellsNothing{1};
    std::string line = "Frame " + std::to_string(done) + " of " + std::to_string(frames);
    if (done < 1 || passed < kTellsNothing) return line;
    return line + ", " + InWords(passed / done * (frames - done)) + " left";
}

void EraseProgress() {
    if (isatty(STDERR_FILENO) == 1) std::fputs("\r\033[K", stderr);
}

MovieProgress::MovieProgress(int frames, LongStep& step)
    : frames_(frames), isOnTerminal_(isatty(STDERR_FILENO) == 1) {
    step.Begin(isOnTerminal_ ? "" : "Drawing the movie\u2026");
}

MovieProgress::~MovieProgress() {
    EraseProgress();
}

void MovieProgress::FramesDone(int done) const {
    if (!isOnTerminal_) return;
    const std::string line = ProgressLine(done, frames_, Clock::now() - start_);
    std::fprintf(stderr, "\r%s\033[K", line.c_str());
}

}  // namespace vistrel
