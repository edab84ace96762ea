// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/scene_packing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "tests/support/splat_scene_bytes.h"
#include "tests/support/splat_scenes.h"

namespace vistrel {
namespace {

using test::WhiteVertex;

// Delivers Gaussians in the order of their values.
void Deliver(const std::vector<RawGaussian>& gaussians, SceneSink& sink, int threads,
             float behind = 0.0F) {
    DeliverPieces(
        {.count = gaussians.size()}, sink, threads,
        [&](std::size_t first, std::size_t count, float* rows) {
            for (std::size_t row = 0; row < kRawValues; ++row) {
                float* const to = rows + row * kScenePiece;
                for (std::size_t i = 0; i < count; ++i) {
                    std::memcpy(to + i, reinterpret_cast<const float*>(&gaussians[first + i]) + row,
                                sizeof(float));
                }
                std::fill(to + count, to + kScenePiece, behind);
            }
        });
}

bool AreEqual(const GaussianScene& a, const GaussianScene& b) {
    if (a.Count() != b.Count() || a.Degree() != b.Degree()) return false;
    for (std::size_t plane = 0; plane < kPlanes; ++plane) {
        const float* const ofA = a.Planes().Of(static_cast<Plane>(plane));
        const float* const ofB = b.Planes().Of(static_cast<Plane>(plane));
        if (std::memcmp(ofA, ofB, a.Count() * sizeof(float)) != 0) return false;
    }
    return true;
}

TEST(ScenePacking, PiecesOfAllThreadsComeToTheirPlaces) {
    const std::vector<RawGaussian> gaussians = test::WildGaussians(3 * kScenePiece + 7);
    for (const int threads : {1, 3}) {
        PackingSink sink;
        Deliver(gaussians, sink, threads);
        EXPECT_TRUE(AreEqual(sink.file.scene, test::PackedScene(gaussians))) << threads;
    }
}

TEST(ScenePacking, WhatLiesBehindTheLastGaussianIsNotDrawn) {
    PackingSink sink;
    Deliver({WhiteVertex({1, 2, 3}, 0.5F, 0.25F)}, sink, 1, 5.0F);
    const float* const opacities = sink.file.scene.Planes().Of(Plane::BlueOpacity);
    for (std::size_t i = 1; i < 32; ++i) {
        std::uint32_t word = 0;
        std::memcpy(&word, opacities + i, sizeof(word));
        EXPECT_EQ(word >> 16U, 0U) << i;
    }
}

TEST(ScenePacking, HarmonicsAreKept) {
    PackingSink sink;
    DeliverPieces({.count = 1, .degree = 1}, sink, 1,
                  [](std::size_t /*first*/, std::size_t /*count*/, float* rows) {
                      for (std::size_t row = 0; row < RawValues(1); ++row) {
                          rows[row * kScenePiece] = row == kHarmonicsRow + 4 ? 1.0F : 0.0F;
                      }
                  });
    const GaussianPlanes& planes = sink.file.scene.Planes();
    constexpr std::uint16_t kOneAsHalf = 0x3C00;
    EXPECT_EQ(planes.degree, 1);
    EXPECT_EQ(planes.Harmonic(2, 1)[0], kOneAsHalf);  // the second of green
    EXPECT_EQ(planes.Harmonic(2, 0)[0], 0);
}

TEST(ScenePacking, CameraIsKept) {
    PackingSink sink;
    sink.Begin({.count = 0, .camera = PhotographCamera{400, 401, 200, 150, 400, 300}});
    ASSERT_TRUE(sink.file.camera.has_value());
    EXPECT_EQ(sink.file.camera->focalY, 401.0F);
    sink.Begin({.count = 0});
    EXPECT_FALSE(sink.file.camera.has_value());
    EXPECT_EQ(sink.file.scene.Count(), 0U);
}

}  // namespace
}  // namespace vistrel
