// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/workers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <stdexcept>
#include <vector>

namespace vistrel {
namespace {

TEST(Workers, EveryPieceIsDoneOnce) {
    Workers workers(4);
    for (int round = 0; round < 50; ++round) {
        std::vector<std::atomic<int>> done(97);
        workers.Run(done.size(), [&](std::size_t piece, int /*worker*/) { ++done[piece]; });
        for (const auto& count : done) ASSERT_EQ(count, 1);
    }
}

TEST(Workers, AWorkerDoesOnePieceAtATime) {
    Workers workers(3);
    std::vector<std::atomic<int>> busy(static_cast<std::size_t>(workers.Count()));
    std::atomic<bool> clash = false;
    workers.Run(1000, [&](std::size_t /*piece*/, int worker) {
        std::atomic<int>& own = busy.at(static_cast<std::size_t>(worker));
        if (++own != 1) clash = true;
        --own;
    });
    EXPECT_FALSE(clash);
}

TEST(Workers, OneThreadIsTheCaller) {
    Workers workers(1);
    EXPECT_EQ(workers.Count(), 1);
    std::vector<std::size_t> order;
    workers.Run(4, [&](std::size_t piece, int worker) {
        EXPECT_EQ(worker, 0);
        order.push_back(piece);
    });
    EXPECT_EQ(order, (std::vector<std::size_t>{0, 1, 2, 3}));
}

TEST(Workers, ThereIsAtLeastTheCallerWhereNoNumberIsGiven) {
    EXPECT_GE(Workers().Count(), 1);
}

TEST(Workers, NoPiecesAreDoneAtOnce) {
    Workers workers(2);
    workers.Run(0, [](std::size_t /*piece*/, int /*worker*/) { FAIL(); });
}

TEST(Workers, ExceptionReachesTheCaller) {
    Workers workers(2);
    const auto fail = [](std::size_t piece, int /*worker*/) {
        if (piece == 7) throw std::runtime_error("seven");
    };
    EXPECT_THROW(workers.Run(100, fail), std::runtime_error);
}

TEST(Workers, WorkGoesOnAfterAnException) {
    Workers workers(2);
    EXPECT_THROW(workers.Run(10, [](std::size_t /*piece*/,
                                    int /*worker*/) { throw std::runtime_error(""); }),
                 std::runtime_error);
    std::atomic<int> done = 0;
    workers.Run(10, [&](std::size_t /*piece*/, int /*worker*/) { ++done; });
    EXPECT_EQ(done, 10);
}

}  // namespace
}  // namespace vistrel
