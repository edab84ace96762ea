// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/convert/batch_display.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "base/text_encoding.h"

namespace vistrel {
namespace {

constexpr int kBarWidth = 30;
constexpr const char* kClearLine = "\r\033[K";

// A name is not to steer the terminal.
std::wstring Printable(std::wstring name) {
    for (wchar_t& character : name) {
        const auto code = static_cast<char32_t>(character);
        if (code < 0x20 || (code >= 0x7F && code < 0xA0)) character = L'?';
    }
    return name;
}

void DropStandardOutput() {
    std::fflush(stdout);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere < 0) return;
    dup2(nowhere, STDOUT_FILENO);
    close(nowhere);
}

}  // namespace

BatchDisplay::BatchDisplay() : bar_(isatty(STDERR_FILENO) == 1) {
    if (bar_ && isatty(STDOUT_FILENO) == 1) DropStandardOutput();
}

void BatchDisplay::Show(const BatchProgressInfo& info) {
    const std::lock_guard lock(mutex_);
    if (info.current != shown_.current) fileStart_ = Clock::now();
    shown_ = info;
    if (bar_) {
        DrawBar();
    } else {
        std::fprintf(stderr, "Processing %d / %d: %s (%d s)\n", info.current, info.total,
                     ToUtf8(info.fileName).c_str(), info.elapsedSeconds);
    }
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
    const auto seconds =
        std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - fileStart_).count();
    std::fprintf(stderr, "%s%s[%s] %d / %d, %lld s: %s%s", kClearLine, kNoWrap, bar.c_str(),
                 shown_.current, shown_.total, static_cast<long long>(seconds),
                 ToUtf8(Printable(shown_.fileName)).c_str(), kWrap);
}

}  // namespace vistrel
