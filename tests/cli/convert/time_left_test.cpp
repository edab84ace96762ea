// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/convert/time_left.h"

#include <gtest/gtest.h>

namespace vistrel {
namespace {

using std::chrono::seconds;

TEST(TimeLeft, IsUnknownBeforeTheFirstFileHasEnded) {
    EXPECT_EQ(TimeLeft().Text(100, seconds(5)), "");
}

TEST(TimeLeft, GoesByTheLastTenFilesOnAverage) {
    TimeLeft left;
    left.Add(seconds(10'000));
    for (int i = 0; i < 5; ++i) {
        left.Add(seconds(50));
        left.Add(seconds(70));
    }
    EXPECT_EQ(left.Text(31, seconds(60)), ", about 30 min left");
}

TEST(TimeLeft, CountsWhatIsLeftOfTheCurrentFile) {
    TimeLeft left;
    left.Add(seconds(60));
    EXPECT_EQ(left.Text(1, seconds(20)), ", about 40 s left");
    EXPECT_EQ(left.Text(1, seconds(90)), "");  // late, and the last
    EXPECT_EQ(left.Text(2, seconds(90)), ", about 60 s left");
}

TEST(TimeLeft, UnitSuitsTheTime) {
    TimeLeft left;
    left.Add(seconds(1));
    EXPECT_EQ(left.Text(89, seconds(0)), ", about 89 s left");
    EXPECT_EQ(left.Text(91, seconds(0)), ", about 2 min left");
    EXPECT_EQ(left.Text(5'300, seconds(0)), ", about 88 min left");
    EXPECT_EQ(left.Text(600'000, seconds(0)), ", about 167 h left");
}

}  // namespace
}  // namespace vistrel
