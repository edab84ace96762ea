// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/long_step.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace vistrel {
namespace {

// What is told on standard error when a second passes `seconds` times from the beginning of a step.
std::string ToldIn(LongStep& step, int seconds) {
    const auto start = LongStep::Clock::now() + std::chrono::milliseconds(500);
    testing::internal::CaptureStderr();
    for (int second = 1; second <= seconds; ++second) {
        step.Tick(start + std::chrono::seconds(second));
    }
    return testing::internal::GetCapturedStderr();
}

TEST(LongStepTest, NothingIsToldWithoutAStep) {
    LongStep step;
    EXPECT_EQ(ToldIn(step, 10), "");
}

TEST(LongStepTest, AShortStepIsNotTold) {
    LongStep step;
    step.Begin("Reading");
    EXPECT_EQ(ToldIn(step, 4), "");
}

TEST(LongStepTest, ALongStepIsToldEverMoreRarely) {
    LongStep step;
    step.Begin("Reading");
    EXPECT_EQ(ToldIn(step, 79), "Reading 5 s\nReading 10 s\nReading 20 s\nReading 40 s\n");
}

TEST(LongStepTest, NoSilenceIsLongerThanAMinute) {
    LongStep step;
    step.Begin("Reading");
    const std::string told = ToldIn(step, 299);
    EXPECT_EQ(told.substr(told.find("Reading 80 s")),
              "Reading 80 s\nReading 140 s\nReading 200 s\nReading 260 s\n");
}

TEST(LongStepTest, TheNextStepBeginsAnew) {
    LongStep step;
    step.Begin("Reading");
    static_cast<void>(ToldIn(step, 79));
    step.Begin("Writing");
    EXPECT_EQ(ToldIn(step, 5), "Writing 5 s\n");
}

}  // namespace
}  // namespace vistrel
