// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/render/movie_progress.h"

#include <gtest/gtest.h>

#include <chrono>

namespace vistrel {
namespace {

using Seconds = std::chrono::duration<double>;

TEST(MovieProgress, TellsTheTimeThatIsLeft) {
    EXPECT_EQ(ProgressLine(30, 120, Seconds(4.0)), "Frame 30 of 120, 12 s left");
    EXPECT_EQ(ProgressLine(120, 120, Seconds(4.0)), "Frame 120 of 120, 0 s left");
}

TEST(MovieProgress, TellsMinutes) {
    EXPECT_EQ(ProgressLine(10, 110, Seconds(12.5)), "Frame 10 of 110, 2 min 5 s left");
}

TEST(MovieProgress, RoundsUp) {
    EXPECT_EQ(ProgressLine(100, 101, Seconds(10.0)), "Frame 100 of 101, 1 s left");
}

TEST(MovieProgress, TellsNoTimeWhileItCannotKnow) {
    EXPECT_EQ(ProgressLine(0, 120, Seconds(5.0)), "Frame 0 of 120");
    EXPECT_EQ(ProgressLine(1, 120, Seconds(0.5)), "Frame 1 of 120");
}

}  // namespace
}  // namespace vistrel
