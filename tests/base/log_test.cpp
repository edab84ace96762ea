// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <string>
#include <thread>

namespace vistrel {
namespace {

// What `write` prints on the C stream of standard output.
template <typename Function>
std::string Printed(Function write) {
    testing::internal::CaptureStdout();
    write();
    return testing::internal::GetCapturedStdout();
}

// The line with every digit turned into a 0, so that it can be compared.
std::string WithoutTime(std::string line) {
    std::replace_if(line.begin(), line.end(), [](char c) { return c >= '0' && c <= '9'; }, '0');
    return line;
}

// Of the clock that the log reads; std::time lags behind it by up to a tick of the kernel.
std::time_t UnixSeconds() {
    return std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
}

TEST(Log, NarrowLineHasTimeStampLevelAndMessage) {
    const std::string line = Printed([] { LogInfo("  Parsed all Gaussians."); });
    EXPECT_EQ(WithoutTime(line), "0000-00-00 00:00:00 - INFO -   Parsed all Gaussians.\n");
}

TEST(Log, EmptyNarrowMessageLeavesStampAndLevel) {
    const std::string line = Printed([] { LogInfo(""); });
    EXPECT_EQ(WithoutTime(line), "0000-00-00 00:00:00 - INFO - \n");
}

TEST(Log, TimeStampIsLocalTime) {
    setenv("TZ", "UTC-14", 1);
    tzset();
    const std::time_t before = UnixSeconds() + 14 * 3600;
    const std::string line = Printed([] { LogInfo(""); });
    const std::time_t after = UnixSeconds() + 14 * 3600;
    unsetenv("TZ");
    tzset();

    std::tm stamp{};
    ASSERT_NE(strptime(line.c_str(), "%Y-%m-%d %H:%M:%S", &stamp), nullptr);
    const std::time_t logged = timegm(&stamp);
    EXPECT_GE(logged, before);
    EXPECT_LE(logged, after);
}

TEST(Log, WideLineHasNoTimeStamp) {
    EXPECT_EQ(Printed([] { LogInfoWide(L"  Saved"); }), "INFO -   Saved\n");
    EXPECT_EQ(Printed([] { LogInfoWide(L""); }), "INFO - \n");
}

TEST(Log, WideMessageIsUtf8WhateverTheLocale) {
    EXPECT_EQ(Printed([] { LogInfoWide(L"\u5199\u771F.jpg"); }),
              "INFO - \xE5\x86\x99\xE7\x9C\x9F.jpg\n");
}

TEST(Log, LinesOfTwoThreadsStayWhole) {
    const std::string text = Printed([] {
        const auto write = [] {
            for (int i = 0; i < 500; ++i) LogInfoWide(L"0123456789");
        };
        std::thread other(write);
        write();
        other.join();
    });
    std::string expected;
    for (int i = 0; i < 1000; ++i) expected += "INFO - 0123456789\n";
    EXPECT_EQ(text, expected);
}

}  // namespace
}  // namespace vistrel
