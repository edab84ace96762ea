// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/splat.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <vector>

#include "formats/scene_values.h"
#include "tests/formats/scene_files.h"

namespace vistrel {
namespace {

constexpr float kUnbounded = std::numeric_limits<float>::infinity();

RawScene ReadSplatBytes(const std::string& bytes) {
    return test::SceneOf(ReadSplat, bytes, ".splat");
}

std::string SplatBytesOf(std::array<float, 6> numbers, const std::string& bytes) {
    std::string record;
    test::AppendBytes(record, numbers);
    return record + bytes;
}

RawScene SceneOfOne(const RawGaussian& gaussian) {
    RawScene scene({1, 0, {}});
    SetGaussian(gaussian, scene.Row(0), static_cast<std::size_t>(scene.Row(1) - scene.Row(0)));
    return scene;
}

TEST(Splat, RecordIsReadAsItsLayoutSays) {
    const RawScene scene = ReadSplatBytes(
        SplatBytesOf({1.5F, -2, 3, 0.5F, 2, 0}, {"\x00\xFF\x33\xCC\xFF\x80\x00\xC0", 8}));
    ASSERT_EQ(scene.Count(), 1U);
    EXPECT_EQ(scene.Degree(), 0);
    EXPECT_FALSE(scene.Facts().camera.has_value());
    const std::vector<float> expected = {1.5F,
                                         -2,
                                         3,
                                         -0.5F / 0.28209479F,
                                         0.5F / 0.28209479F,
                                         -0.3F / 0.28209479F,
                                         std::log(4.0F),
                                         std::log(0.5F),
                                         std::log(2.0F),
                                         -kUnbounded,
                                         127.0F / 128.0F,
                                         0,
                                         -1,
                                         0.5F};
    for (std::size_t row = 0; row < expected.size(); ++row) {
        const float value = scene.Row(row)[0];
        EXPECT_TRUE(value == expected[row] || std::abs(value - expected[row]) < 1e-5F) << row;
    }
}

TEST(Splat, RecordIsWrittenAsItsLayoutSays) {
    const RawScene scene = SceneOfOne({.position = {1.5F, -2, 3},
                                       .colorDc = {-9, 9, -0.3F / kFirstHarmonic},
                                       .opacityLogit = std::log(4.0F),
                                       .logScale = {0, 100, -kUnbounded},
                                       .rotation = {2, 0, -2, 0}});
    EXPECT_EQ(test::FileOf(WriteSplat, scene),
              SplatBytesOf({1.5F, -2, 3, 1, std::numeric_limits<float>::max(), 0},
                           {"\x00\xFF\x33\xCC\xDB\x80\x25\x80", 8}));
}

TEST(Splat, RotationIsReadWithinHalfAStep) {
    const RawScene scene = SceneOfOne({.position = {},
                                       .colorDc = {},
                                       .opacityLogit = kUnbounded,
                                       .logScale = {},
                                       .rotation = {0.8F, -0.5F, 0.3F, 0.1414214F}});
    const RawScene again = ReadSplatBytes(test::FileOf(WriteSplat, scene));
    EXPECT_EQ(again.Row(kOpacityRow)[0], kUnbounded);
    for (std::size_t k = 0; k < 4; ++k) {
        EXPECT_NEAR(again.Row(kRotationRow + k)[0], scene.Row(kRotationRow + k)[0], 0.5F / 128);
    }
}

TEST(Splat, SceneIsReadBackWithinTheFormatsSteps) {
    const RawScene scene = test::VariedScene(3000, 0);
    const RawScene again = ReadSplatBytes(test::FileOf(WriteSplat, scene));
    ASSERT_EQ(again.Count(), scene.Count());
    // The order is another; x tells them apart.
    const auto byX = [](const RawScene& of) {
        std::vector<std::size_t> order(of.Count());
        for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
        std::ranges::sort(order, {}, [&of](std::size_t i) { return of.Row(kPositionRow)[i]; });
        return order;
    };
    const std::vector<std::size_t> before = byX(scene);
    const std::vector<std::size_t> after = byX(again);
    constexpr float kHalfByte = 0.5F / 255 + 1e-6F;
    for (std::size_t i = 0; i < before.size(); ++i) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            EXPECT_EQ(again.Row(kPositionRow + axis)[after[i]],
                      scene.Row(kPositionRow + axis)[before[i]]);
            EXPECT_NEAR(again.Row(kScaleRow + axis)[after[i]],
                        scene.Row(kScaleRow + axis)[before[i]], 1e-5F);
            EXPECT_NEAR(SrgbOfDc(again.Row(kColorRow + axis)[after[i]]),
                        SrgbOfDc(scene.Row(kColorRow + axis)[before[i]]), kHalfByte);
        }
        EXPECT_NEAR(OpacityOfLogit(again.Row(kOpacityRow)[after[i]]),
                    OpacityOfLogit(scene.Row(kOpacityRow)[before[i]]), kHalfByte);
    }
}

TEST(Splat, WhatIsLargeAndOpaqueComesFirst) {
    RawScene scene = test::VariedScene(4, 0);
    const std::array<float, 4> scales = {-4, -2, -2, -3};
    const std::array<float, 4> logits = {9, -9, 0, 0};
    for (std::size_t i = 0; i < 4; ++i) {
        scene.Row(kPositionRow)[i] = static_cast<float>(i);
        for (std::size_t axis = 0; axis < 3; ++axis) scene.Row(kScaleRow + axis)[i] = scales[i];
        scene.Row(kOpacityRow)[i] = logits[i];
    }
    const RawScene again = ReadSplatBytes(test::FileOf(WriteSplat, scene));
    const std::vector<float> order(again.Row(kPositionRow), again.Row(kPositionRow) + 4);
    EXPECT_EQ(order, (std::vector<float>{2, 3, 0, 1}));
}

TEST(Splat, HarmonicsAreLeftOut) {
    EXPECT_EQ(ReadSplatBytes(test::FileOf(WriteSplat, test::VariedScene(5, 3))).Degree(), 0);
}

TEST(Splat, FileIsTheSameOnAnyNumberOfThreads) {
    const RawScene scene = test::VariedScene(40000, 0);
    EXPECT_TRUE(test::FileOf(WriteSplat, scene, 1) == test::FileOf(WriteSplat, scene, 3));
}

TEST(Splat, SizesThatNoFileHasAreRefused) {
    EXPECT_EQ(test::RefusalOf(ReadSplat, "", ".splat"), "it is empty");
    const std::string sentence =
        "its size is not a multiple of 32 bytes: it is cut short or no .splat file";
    EXPECT_EQ(test::RefusalOf(ReadSplat, std::string(31, 'x'), ".splat"), sentence);
    EXPECT_EQ(test::RefusalOf(ReadSplat, std::string(65, 'x'), ".splat"), sentence);
}

TEST(Splat, OtherEndingsAreLeftToOtherReaders) {
    EXPECT_THROW(static_cast<void>(test::SceneOf(ReadSplat, std::string(32, 'x'), ".ksplat")),
                 std::logic_error);
}

}  // namespace
}  // namespace vistrel
