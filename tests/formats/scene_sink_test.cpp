// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/scene_sink.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <stdexcept>

namespace vistrel {
namespace {

// Counts up through all values of a scene, place by place.
void CountUp(std::size_t first, std::size_t count, float* rows) {
    for (std::size_t row = 0; row < RawValues(1); ++row) {
        for (std::size_t i = 0; i < count; ++i) {
            rows[row * kScenePiece + i] = static_cast<float>(row * 10000 + first + i);
        }
    }
}

TEST(SceneSink, PiecesFromSeveralThreadsComeToTheirPlaces) {
    constexpr std::size_t kCount = 3 * kScenePiece + 5;
    RawSceneSink sink;
    DeliverPieces({kCount, 1, {}}, sink, 3, CountUp);
    ASSERT_EQ(sink.scene.Count(), kCount);
    for (std::size_t row = 0; row < RawValues(1); ++row) {
        for (const std::size_t place : {std::size_t{0}, kScenePiece, kCount - 1}) {
            EXPECT_EQ(sink.scene.Row(row)[place], static_cast<float>(row * 10000 + place));
        }
    }
}

TEST(SceneSink, WhatDecodingThrowsIsThrown) {
    RawSceneSink sink;
    const auto fail = [](std::size_t, std::size_t, float*) { throw std::runtime_error("torn"); };
    EXPECT_THROW(DeliverPieces({10, 0, {}}, sink, 1, fail), std::runtime_error);
}

}  // namespace
}  // namespace vistrel
