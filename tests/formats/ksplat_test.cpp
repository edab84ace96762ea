// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/ksplat.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "formats/half_float.h"
#include "tests/formats/scene_files.h"
#include "tests/support/ksplat_bytes.h"

namespace vistrel {
namespace {

using test::KsplatBytes;
using test::KsplatGaussian;
using test::KsplatParts;
using test::KsplatSectionParts;

constexpr float kTiny = 1e-6F;

RawScene ReadKsplatBytes(const std::string& bytes) {
    return test::SceneOf(ReadKsplat, bytes, ".ksplat");
}

std::string KsplatRefusal(const std::string& bytes) {
    return test::RefusalOf(ReadKsplat, bytes, ".ksplat");
}

template <typename T>
std::string With(std::string bytes, std::size_t at, T number) {
    std::memcpy(bytes.data() + at, &number, sizeof(number));
    return bytes;
}

// Five Gaussians: one bucket full of two, two partly filled, the first of these empty.
KsplatParts InBuckets(std::uint16_t level) {
    KsplatSectionParts section;
    section.bucketSize = 2;
    section.bucketSide = 8.0F;
    section.steps = 1000;
    section.fullBuckets = 1;
    section.partialBuckets = {0, 3};
    section.centres = {{10, 20, 30}, {0, 0, 0}, {-10, 0, 1}};
    for (std::uint16_t i = 0; i < 5; ++i) {
        section.gaussians.push_back(
            {.steps = {static_cast<std::uint16_t>(1000 + 250 * i), 0, 2000}});
    }
    return {.level = level, .sections = {section}};
}

TEST(Ksplat, UncompressedGaussianIsReadAsItIs) {
    KsplatSectionParts section;
    section.gaussians = {{.position = {1.5F, -2.25F, 3.125F},
                          .scale = {0.5F, 2.0F, 0.0F},
                          .rotation = {0.5F, -0.5F, 0.25F, 0.75F},
                          .color = {0, 255, 51, 204}}};
    const RawScene scene = ReadKsplatBytes(KsplatBytes({.level = 0, .sections = {section}}));
    ASSERT_EQ(scene.Count(), 1U);
    EXPECT_EQ(scene.Degree(), 0);
    EXPECT_FALSE(scene.Facts().camera.has_value());
    const std::vector<float> expected = {1.5F,
                                         -2.25F,
                                         3.125F,
                                         -0.5F / 0.28209479F,
                                         0.5F / 0.28209479F,
                                         -0.3F / 0.28209479F,
                                         std::log(4.0F),
                                         std::log(0.5F),
                                         std::log(2.0F),
                                         -std::numeric_limits<float>::infinity(),
                                         0.5F,
                                         -0.5F,
                                         0.25F,
                                         0.75F};
    for (std::size_t row = 0; row < expected.size(); ++row) {
        const float value = scene.Row(row)[0];
        EXPECT_TRUE(value == expected[row] || std::abs(value - expected[row]) < 1e-5F) << row;
    }
}

TEST(Ksplat, PositionsAreStepsFromTheCentreOfTheirBucket) {
    for (const auto level : std::to_array<std::uint16_t>({1, 2})) {
        const RawScene scene = ReadKsplatBytes(KsplatBytes(InBuckets(level)));
        ASSERT_EQ(scene.Count(), 5U);
        const std::vector<float> x = {10.0F, 11.0F, -8.0F, -7.0F, -6.0F};
        for (std::size_t i = 0; i < x.size(); ++i) {
            EXPECT_NEAR(scene.Row(kPositionRow)[i], x[i], kTiny) << i;
            EXPECT_NEAR(scene.Row(kPositionRow + 1)[i], i < 2 ? 16.0F : -4.0F, kTiny) << i;
            EXPECT_NEAR(scene.Row(kPositionRow + 2)[i], i < 2 ? 34.0F : 5.0F, kTiny) << i;
        }
    }
}

TEST(Ksplat, NoNumberOfStepsMeansTheUsualOne) {
    KsplatParts parts = InBuckets(1);
    parts.sections[0].steps = 0;
    parts.sections[0].gaussians[0].steps = {65534, 32767, 0};
    const RawScene scene = ReadKsplatBytes(KsplatBytes(parts));
    EXPECT_NEAR(scene.Row(kPositionRow)[0], 14.0F, 1e-5F);
    EXPECT_EQ(scene.Row(kPositionRow + 1)[0], 20.0F);
    EXPECT_NEAR(scene.Row(kPositionRow + 2)[0], 26.0F, 1e-5F);
}

TEST(Ksplat, HalfNumbersAreRead) {
    KsplatParts parts = InBuckets(1);
    parts.sections[0].gaussians[3].scale = {0.5F, 4.0F, 0.0F};
    parts.sections[0].gaussians[3].rotation = {0.5F, -0.5F, 0.25F, -1.0F};
    const RawScene scene = ReadKsplatBytes(KsplatBytes(parts));
    EXPECT_EQ(scene.Row(kScaleRow)[3], std::log(0.5F));
    EXPECT_EQ(scene.Row(kScaleRow + 1)[3], std::log(4.0F));
    EXPECT_EQ(scene.Row(kScaleRow + 2)[3], -std::numeric_limits<float>::infinity());
    EXPECT_EQ(scene.Row(kRotationRow)[3], 0.5F);
    EXPECT_EQ(scene.Row(kRotationRow + 1)[3], -0.5F);
    EXPECT_EQ(scene.Row(kRotationRow + 3)[3], -1.0F);
}

// The harmonics of degree 2 in the order of the file, as numbers of their rows.
std::vector<std::size_t> HarmonicRowsInFile() {
    return {0, 1, 2, 8, 9, 10, 16, 17, 18, 3, 4, 5, 6, 7, 11, 12, 13, 14, 15, 19, 20, 21, 22, 23};
}

TEST(Ksplat, HarmonicsComeDegreeByDegree) {
    for (const auto level : std::to_array<std::uint16_t>({0, 1, 2})) {
        KsplatParts parts = InBuckets(level);
        if (level == 0) {
            parts.sections[0].centres.clear();
            parts.sections[0].partialBuckets.clear();
            parts.sections[0].fullBuckets = 0;
        }
        parts.sections[0].degree = 2;
        parts.leastHarmonic = -51.0F;
        parts.mostHarmonic = 204.0F;
        for (KsplatGaussian& gaussian : parts.sections[0].gaussians) {
            for (std::uint8_t i = 0; i < 24; ++i) {
                gaussian.harmonics.push_back(static_cast<float>(i) - 51.0F);
                gaussian.harmonicBytes.push_back(i);
            }
        }
        const RawScene scene = ReadKsplatBytes(KsplatBytes(parts));
        ASSERT_EQ(scene.Degree(), 2);
        const std::vector<std::size_t> rows = HarmonicRowsInFile();
        for (std::size_t i = 0; i < rows.size(); ++i) {
            EXPECT_NEAR(scene.Row(kHarmonicsRow + rows[i])[4], static_cast<float>(i) - 51.0F, 1e-4F)
                << level << ' ' << i;
        }
    }
}

TEST(Ksplat, SectionsOfSeveralDegreesAreOneScene) {
    KsplatParts parts = {.level = 0, .sections = std::vector<KsplatSectionParts>(4)};
    for (std::size_t i = 0; i < 1500; ++i) {
        const std::size_t section = i < 700 ? 0 : 2;
        parts.sections[section].gaussians.push_back({.position = {static_cast<float>(i), 0, 0}});
    }
    parts.sections[3].degree = 1;
    parts.sections[3].gaussians.push_back(
        {.position = {1500, 0, 0}, .harmonics = {1, 2, 3, 4, 5, 6, 7, 8, 9}});
    const RawScene scene = ReadKsplatBytes(KsplatBytes(parts));
    ASSERT_EQ(scene.Count(), 1501U);
    ASSERT_EQ(scene.Degree(), 1);
    for (std::size_t i = 0; i < scene.Count(); ++i) {
        EXPECT_EQ(scene.Row(kPositionRow)[i], static_cast<float>(i));
        EXPECT_EQ(scene.Row(kHarmonicsRow + 8)[i], i == 1500 ? 9.0F : 0.0F);
    }
}

TEST(Ksplat, OtherEndingsAreLeftToOtherReaders) {
    const std::string bytes = KsplatBytes({});
    EXPECT_THROW(static_cast<void>(test::SceneOf(ReadKsplat, bytes, ".splat")), std::logic_error);
}

TEST(Ksplat, WhatIsCutShortIsRefused) {
    const std::string bytes = KsplatBytes(InBuckets(1));
    for (const std::size_t left : {std::size_t{0}, std::size_t{4095}, std::size_t{5000},
                                   std::size_t{5125}, bytes.size() - 1}) {
        EXPECT_EQ(KsplatRefusal(bytes.substr(0, left)), "it is cut short") << left;
    }
}

TEST(Ksplat, WhatTheHeadersMayNotSayIsRefused) {
    constexpr std::size_t kSection = 4096;
    const std::string bytes = KsplatBytes(InBuckets(1));
    ASSERT_EQ(KsplatRefusal(bytes), "");
    EXPECT_EQ(KsplatRefusal(With(bytes, 1, std::uint8_t{0})),
              "it is of version 0.0, not 0.1, or no .ksplat file");
    EXPECT_EQ(KsplatRefusal(With(bytes, 20, std::uint16_t{3})),
              "its level of compression is 3, more than 2");
    EXPECT_EQ(KsplatRefusal(With(bytes, 4, std::uint32_t{0xFFFFFFFF})), "it is cut short");
    EXPECT_EQ(KsplatRefusal(With(bytes, 16, std::uint32_t{6})),
              "it claims 6 Gaussians but holds 5");
    EXPECT_EQ(KsplatRefusal(With(bytes, kSection, std::uint32_t{6})),
              "it claims more Gaussians than have room");
    EXPECT_EQ(KsplatRefusal(With(bytes, kSection + 4, std::uint32_t{0xFFFFFFFF})),
              "it is cut short");
    EXPECT_EQ(KsplatRefusal(With(bytes, kSection + 12, std::uint32_t{0xFFFFFFFF})),
              "it is cut short");
    EXPECT_EQ(KsplatRefusal(With(bytes, kSection + 12, std::uint32_t{2})),
              "it has fewer buckets than it fills");
    EXPECT_EQ(KsplatRefusal(With(bytes, kSection + 20, std::uint16_t{16})),
              "its buckets are not of 12 bytes");
    EXPECT_EQ(KsplatRefusal(With(bytes, kSection + 8, std::uint32_t{1})),
              "its buckets hold 4 Gaussians, but it claims 5");
    EXPECT_EQ(KsplatRefusal(With(bytes, kSection + 40, std::uint16_t{3})),
              "it has harmonics of degree 3, more than the 2 of .ksplat files");
}

TEST(HalfFloat, EveryKindOfNumberIsExact) {
    EXPECT_EQ(FloatOfHalf(0x0000), 0.0F);
    EXPECT_EQ(FloatOfHalf(0x3C00), 1.0F);
    EXPECT_EQ(FloatOfHalf(0xC500), -5.0F);
    EXPECT_EQ(FloatOfHalf(0x0001), 0x1p-24F);
    EXPECT_EQ(FloatOfHalf(0x83FF), -0x3FFp-24F);
    EXPECT_EQ(FloatOfHalf(0x0400), 0x1p-14F);
    EXPECT_EQ(FloatOfHalf(0x7BFF), 65504.0F);
    EXPECT_EQ(FloatOfHalf(0xFC00), -std::numeric_limits<float>::infinity());
    EXPECT_TRUE(std::isnan(FloatOfHalf(0x7C01)));
}

}  // namespace
}  // namespace vistrel
