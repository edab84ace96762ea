// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/log.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <string>

#include "base/text_encoding.h"

namespace vistrel {
namespace {

std::string TimeStamp() {
    const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    std::tm local{};
    localtime_r(&now, &local);
    // The pattern holds numbers only, so no locale changes it.
    std::array<char, 32> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &local);
    return {text.data(), length};
}

// One call of the C stream per line, which locks itself: lines of two threads stay whole.
void WriteLine(std::string line) {
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stdout);
}

}  // namespace

void LogInfo(std::string_view message) {
    WriteLine(TimeStamp().append(" - INFO - ").append(message));
}

void LogInfoWide(std::wstring_view message) {
    WriteLine(std::string("INFO - ").append(ToUtf8(message)));
}

}  // namespace vistrel
