// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/convert/batch_display.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>

#include "base/text_encoding.h"

namespace vistrel {
namespace {

constexpr int kBarWidth = 30;
constexpr const char* kClearLine = "\r\033[K";

// A name is not to steer the terminal.
std::string Printable(const std::string& name) {
    std::wstring text = FromUtf8(name);
    for (wchar_t& character : text) {
        const auto code = static_cast<char32_t>(character);
        if (code < 0x20 || (code >= 0x7F && code < 0xA0)) character = L'?';
    }
    return ToUtf8(text);
}

// Returns what standard output was; -1 where it stays.
int DropStandardOutput() {
    std::fflush(stdout);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere < 0) return -1;
    const int kept = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    if (kept >= 0) dup2(nowhere, STDOUT_FILENO);
    close(nowhere);
    return kept;
}

}  // namespace

BatchDisplay::BatchDisplay() : bar_(isatty(STDERR_FILENO) == 1) {
    if (bar_ && isatty(STDOUT_FILENO) == 1) keptOutput_ = DropStandardOutput();
}

BatchDisplay::~BatchDisplay() {
    if (keptOutput_ >= 0) close(keptOutput_);
}

void BatchDisplay::Show(const BatchPosition& position) {
    const std::lock_guard lock(mutex_);
    if (position.current != shown_.current) fileStart_ = Clock::now();
    shown_ = position;
    if (bar_) {
        DrawBar();
    } else {
        std::fprintf(stderr, "Processing %d / %d: %s (%lld s)%s\n", shown_.current, shown_.total,
                     shown_.name.c_str(), Seconds(), Left().c_str());
    }
}

void BatchDisplay::Ended(std::chrono::duration<double> taken) {
    const std::lock_guard lock(mutex_);
    timeLeft_.Add(taken);
}

void BatchDisplay::Tick() {
    const std::lock_guard lock(mutex_);
    if (bar_ && shown_.current > 0) DrawBar();
}

void BatchDisplay::Tell(std::string_view line) {
    const std::lock_guard lock(mutex_);
    std::fprintf(stderr, "%s%.*s\n", bar_ ? kClearLine : "", static_cast<int>(line.size()),
                 line.data());
    if (bar_ && shown_.current > 0) DrawBar();
}

void BatchDisplay::RemoveBar() {
    const std::lock_guard lock(mutex_);
    shown_ = {};
    if (bar_) std::fputs(kClearLine, stderr);
    if (keptOutput_ < 0) return;
    std::fflush(stdout);
    dup2(keptOutput_, STDOUT_FILENO);
}

// In one piece, with the terminal's line wrapping off meanwhile: a bar of two lines would not go
// away again.
void BatchDisplay::DrawBar() {
    constexpr const char* kNoWrap = "\033[?7l";
    constexpr const char* kWrap = "\033[?7h";
    const auto filled =
        static_cast<std::size_t>(std::int64_t{kBarWidth} * (shown_.current - 1) / shown_.total);
    std::string bar(kBarWidth, '.');
    bar.replace(0, filled, filled, '#');
    std::fprintf(stderr, "%s%s[%s] %d / %d, %lld s%s: %s%s", kClearLine, kNoWrap, bar.c_str(),
                 shown_.current, shown_.total, Seconds(), Left().c_str(),
                 Printable(shown_.name).c_str(), kWrap);
}

std::string BatchDisplay::Left() const {
    return timeLeft_.Text(shown_.total - shown_.current + 1, Clock::now() - fileStart_);
}

long long BatchDisplay::Seconds() const {
    return std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - fileStart_).count();
}

}  // namespace vistrel
