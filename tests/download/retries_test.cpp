// SPDX-License-Identifier: GPL-3.0-or-later
#include "download/retries.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace vistrel {
namespace {

using std::chrono::seconds;

class RetriesTest : public testing::Test {
  protected:
    [[nodiscard]] Retries Of(int tries) {
        return {tries, [this](const std::string& sentence) { told_.push_back(sentence); },
                [this](seconds pause) { pauses_.push_back(pause.count()); }};
    }

    std::vector<std::string> told_;
    std::vector<std::int64_t> pauses_;
};

TEST_F(RetriesTest, PausesGrowUpToAMinute) {
    Retries retries = Of(Retries::kPatient);
    for (int i = 1; i < Retries::kPatient; ++i) retries.Failed("Cut", seconds(0));
    EXPECT_EQ(pauses_, (std::vector<std::int64_t>{1, 2, 4, 8, 16, 32, 60, 60, 60, 60}));
    EXPECT_EQ(told_.front(), "Cut. Trying again.");
    EXPECT_EQ(told_.back(), "Cut. Trying again in 60 s.");
}

TEST_F(RetriesTest, TheLastFailureIsAnError) {
    Retries retries = Of(2);
    retries.Failed("Cut", seconds(0));
    EXPECT_THROW(retries.Failed("Cut again", seconds(0)), std::runtime_error);
    EXPECT_EQ(told_.size(), 1U);
}

TEST_F(RetriesTest, ProgressMakesFormerFailuresForgotten) {
    Retries retries = Of(2);
    for (int i = 0; i < 10; ++i) {
        retries.Failed("Cut", seconds(0));
        retries.Forget();
    }
    EXPECT_TRUE(pauses_.empty());
}

TEST_F(RetriesTest, ServersMayAskForLongerPausesWithinReason) {
    Retries retries = Of(Retries::kPatient);
    retries.Failed("Busy", seconds(30));
    retries.Failed("Busy", seconds(100'000));
    retries.Failed("Busy", seconds(1));
    EXPECT_EQ(pauses_, (std::vector<std::int64_t>{30, 600, 2}));
    EXPECT_EQ(told_[1], "Busy; the server asks for a pause of 100000 s. Trying again in 600 s.");
}

}  // namespace
}  // namespace vistrel
