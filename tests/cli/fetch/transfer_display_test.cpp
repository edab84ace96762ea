// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/fetch/transfer_display.h"

#include <gtest/gtest.h>

#include <optional>

namespace vistrel {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

TEST(TransferLine, TellsWhatIsKnown) {
    EXPECT_EQ(TransferLine(612'999'999, 1'303'000'000, 5'190'000.0),
              "612 of 1303 MB, 5.2 MB/s, 2 min 13 s left");
    EXPECT_EQ(TransferLine(0, 1'303'000'000, std::nullopt), "0 of 1303 MB");
    EXPECT_EQ(TransferLine(1'000'000, 0, 20'400.0), "1 MB, 20 kB/s");
    EXPECT_EQ(TransferLine(1'000'000, 3'000'000, 100'000.0), "1 of 3 MB, 100 kB/s, 20 s left");
    EXPECT_EQ(TransferLine(0, 1'303'000'000, 100'000.0), "0 of 1303 MB, 100 kB/s, 3 h 37 min left");
}

class TransferSpeedTest : public testing::Test {
  protected:
    void Add(std::int64_t done, milliseconds time) { speed_.Add(done, start_ + time); }

    TransferSpeed speed_;
    TransferSpeed::Clock::time_point start_ = TransferSpeed::Clock::now();
};

TEST_F(TransferSpeedTest, IsNotKnownInTheFirstSecond) {
    EXPECT_FALSE(speed_.PerSecond());
    Add(0, seconds(0));
    Add(5'000, milliseconds(900));
    EXPECT_FALSE(speed_.PerSecond());
}

TEST_F(TransferSpeedTest, CountsTheLastSecondsAlone) {
    for (int i = 0; i <= 1'000; ++i) Add(i * 1'000, milliseconds(i * 100));
    EXPECT_NEAR(speed_.PerSecond().value_or(0), 10'000, 1);
    for (int i = 1; i <= 300; ++i) Add(1'000'000 + i * 200, seconds(100) + milliseconds(i * 100));
    EXPECT_NEAR(speed_.PerSecond().value_or(0), 2'000, 1);
}

TEST_F(TransferSpeedTest, DoesNotCountWhatWasThereBefore) {
    Add(1'000'000, seconds(0));
    Add(1'004'000, seconds(2));
    EXPECT_NEAR(speed_.PerSecond().value_or(0), 2'000, 1);
}

TEST_F(TransferSpeedTest, BeginsAnewWithTheDownload) {
    Add(1'000'000, seconds(0));
    Add(2'000'000, seconds(2));
    Add(0, seconds(3));
    EXPECT_FALSE(speed_.PerSecond());
    Add(8'000, seconds(5));
    EXPECT_NEAR(speed_.PerSecond().value_or(0), 4'000, 1);
}

}  // namespace
}  // namespace vistrel
