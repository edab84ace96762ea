// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/compressed_ply.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "formats/morton_order.h"
#include "formats/packed_gaussian.h"
#include "formats/scene_values.h"
#include "tests/formats/scene_files.h"

namespace vistrel {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

RawScene ReadCompressed(const std::string& bytes) {
    return test::SceneOf(ReadCompressedPly, bytes, ".ply");
}

std::string CompressedRefusal(const std::string& bytes) {
    return test::RefusalOf(ReadCompressedPly, bytes, ".ply");
}

constexpr std::array kRanges = {"min_x",       "min_y",       "min_z",       "max_x",
                                "max_y",       "max_z",       "min_scale_x", "min_scale_y",
                                "min_scale_z", "max_scale_x", "max_scale_y", "max_scale_z"};
constexpr std::array kColorRanges = {"min_r", "min_g", "min_b", "max_r", "max_g", "max_b"};

struct CompressedParts {
    std::vector<float> chunk;  // of all ranges, with or without colours
    std::vector<std::array<std::uint32_t, 4>> vertices;
    std::vector<std::string> harmonics = {};
};

std::string CompressedBytes(const CompressedParts& parts) {
    std::string bytes = "ply\nformat binary_little_endian 1.0\nelement chunk 1\n";
    for (const char* const name : kRanges) bytes += "property float " + std::string(name) + "\n";
    if (parts.chunk.size() > kRanges.size()) {
        for (const char* const name : kColorRanges) {
            bytes += "property float " + std::string(name) + "\n";
        }
    }
    bytes += "element vertex " + std::to_string(parts.vertices.size()) +
             "\nproperty uint packed_position\nproperty uint packed_rotation\n"
             "property uint packed_scale\nproperty uint packed_color\n";
    if (!parts.harmonics.empty()) {
        bytes += "element sh " + std::to_string(parts.harmonics.size()) + "\n";
        for (std::size_t i = 0; i < parts.harmonics[0].size(); ++i) {
            bytes += "property uchar f_rest_" + std::to_string(i) + "\n";
        }
    }
    bytes += "end_header\n";
    test::AppendBytes(bytes, parts.chunk);
    for (const auto& vertex : parts.vertices) test::AppendBytes(bytes, vertex);
    for (const std::string& record : parts.harmonics) bytes += record;
    return bytes;
}

// Positions in 0..2047, 0..1023 and -2047..0, logarithms of scales in -4..0, colours in 0..2.
const std::vector<float> kChunk = {0, 0, -2047, 2047, 1023, 0, -4, -4, -4,
                                   0, 0, 0,     0,    0,    0, 2,  2,  2};

// Two Gaussians: at one end of each range, and in between with x as the largest of the rotation.
const std::vector<std::array<std::uint32_t, 4>> kVertices = {
    {0, 0, 0, 0},
    {5U << 21 | 6U << 11 | 7U, 1U << 30 | 1023U << 20 | 0U << 10 | 512U, 0xFFFFFFFF,
     255U << 24 | 51U << 16 | 102U << 8 | 204U}};

TEST(CompressedPly, PackedWordsAreReadAsTheirLayoutSays) {
    const RawScene scene = ReadCompressed(CompressedBytes({kChunk, kVertices}));
    ASSERT_EQ(scene.Count(), 2U);
    EXPECT_EQ(scene.Degree(), 0);
    EXPECT_FALSE(scene.Facts().camera.has_value());
    const float part = std::sqrt(0.5F);
    const float middle = part / 1023;
    const std::array<std::vector<float>, 2> expected = {
        std::vector<float>{0, 0, -2047, DcOfSrgb(0), DcOfSrgb(0), DcOfSrgb(0), -kInfinity, -4, -4,
                           -4, 0, -part, -part, -part},
        std::vector<float>{5, 6, -2040, DcOfSrgb(2), DcOfSrgb(0.4F), DcOfSrgb(0.8F), std::log(4.0F),
                           0, 0, 0, part, 0, -part, middle}};
    for (std::size_t i = 0; i < 2; ++i) {
        for (std::size_t row = 0; row < kRawValues; ++row) {
            const float value = scene.Row(row)[i];
            EXPECT_TRUE(value == expected[i][row] || std::abs(value - expected[i][row]) < 1e-3F)
                << i << ' ' << row << ' ' << value;
        }
    }
}

TEST(CompressedPly, ColoursWithoutRangesAreInZeroToOne) {
    const RawScene scene =
        ReadCompressed(CompressedBytes({{kChunk.begin(), kChunk.begin() + 12}, kVertices}));
    EXPECT_NEAR(SrgbOfDc(scene.Row(kColorRow)[1]), 1.0F, 1e-6F);
    EXPECT_NEAR(SrgbOfDc(scene.Row(kColorRow + 1)[1]), 0.2F, 1e-6F);
    EXPECT_NEAR(SrgbOfDc(scene.Row(kColorRow + 2)[1]), 0.4F, 1e-6F);
}

TEST(CompressedPly, HarmonicsAreReadInTheirOrder) {
    const std::string first = {"\x00\xFF\x80\x7F\x01\xFE\x40\xC0\x20", 9};
    const RawScene scene =
        ReadCompressed(CompressedBytes({kChunk, kVertices, {std::string(9, '\x80'), first}}));
    ASSERT_EQ(scene.Degree(), 1);
    const std::vector<float> expected = {-4,
                                         4,
                                         1.0F / 64,
                                         -1.0F / 64,
                                         -4 + 3.0F / 64,
                                         4 - 3.0F / 64,
                                         -2 + 1.0F / 64,
                                         2 + 1.0F / 64,
                                         -3 + 1.0F / 64};
    for (std::size_t k = 0; k < expected.size(); ++k) {
        EXPECT_EQ(scene.Row(kHarmonicsRow + k)[1], expected[k]) << k;
        EXPECT_EQ(scene.Row(kHarmonicsRow + k)[0], 1.0F / 64);
    }
}

TEST(CompressedPly, FileOfOneGaussianIsWrittenByteForByte) {
    RawScene scene({1, 1, PhotographCamera{1, 1, 1, 1, 1, 1}});
    SetGaussian({.position = {1, 2, 3},
                 .colorDc = {DcOfSrgb(0), DcOfSrgb(0.5F), DcOfSrgb(2)},
                 .opacityLogit = std::log(4.0F),
                 .logScale = {-1, -kInfinity, 30},
                 .rotation = {0, -2, 0, 0}},
                scene.Row(0), static_cast<std::size_t>(scene.Row(1) - scene.Row(0)));
    const std::array<float, 9> harmonics = {-9, -4, -3.99F, -0.01F, 0, 0.01F, 3.9F, 4, 9};
    for (std::size_t k = 0; k < 9; ++k) scene.Row(kHarmonicsRow + k)[0] = harmonics[k];
    // Ranges without extent: the words say 0. Of the rotation, -x is turned to x.
    const std::uint32_t rotation = 1U << 30 | 512U << 20 | 512U << 10 | 512U;
    EXPECT_EQ(test::FileOf(WriteCompressedPly, scene),
              CompressedBytes(
                  {{1, 2, 3, 1, 2, 3, -1, -20, 20, -1, -20, 20, SrgbOfDc(DcOfSrgb(0)), 0.5F,
                    SrgbOfDc(DcOfSrgb(2)), SrgbOfDc(DcOfSrgb(0)), 0.5F, SrgbOfDc(DcOfSrgb(2))},
                   {{0, rotation, 0, 204}},
                   {{"\x00\x00\x00\x7F\x80\x80\xFC\xFF\xFF", 9}}}));
}

// What may be lost of each row's values in a chunk whose values span so much.
float HalfStep(std::size_t row, float extent) {
    if (row == kPositionRow + 1 || row == kScaleRow + 1) return extent / 1023 / 2;
    if (row < kColorRow || row >= kScaleRow) return extent / 2047 / 2;
    return extent / 255 / 2;
}

TEST(CompressedPly, ScenesAreReadBackWithinHalfAStepOfTheirChunks) {
    for (int degree = 0; degree <= kMostHarmonicsDegree; ++degree) {
        const RawScene scene = test::VariedScene(kScenePiece + kPlyChunk + 17, degree);
        const RawScene again = ReadCompressed(test::FileOf(WriteCompressedPly, scene));
        ASSERT_EQ(again.Count(), scene.Count());
        ASSERT_EQ(again.Degree(), degree);
        const std::vector<std::uint32_t> order = MortonOrder(scene);
        for (std::size_t row = 0; row < kRotationRow; ++row) {
            if (row == kOpacityRow) continue;
            const float* const before = scene.Row(row);
            for (std::size_t first = 0; first < order.size(); first += kPlyChunk) {
                const std::size_t end = std::min(first + kPlyChunk, order.size());
                float least = kInfinity;
                float most = -kInfinity;
                for (std::size_t i = first; i < end; ++i) {
                    least = std::min(least, before[order[i]]);
                    most = std::max(most, before[order[i]]);
                }
                const float bound = HalfStep(row, most - least) + 2e-6F;
                for (std::size_t i = first; i < end; ++i) {
                    ASSERT_NEAR(again.Row(row)[i], before[order[i]], bound) << row;
                }
            }
        }
    }
}

TEST(CompressedPly, OpacitiesRotationsAndHarmonicsAreReadBackWithinTheirSteps) {
    const RawScene scene = test::VariedScene(1000, 2);
    const RawScene again = ReadCompressed(test::FileOf(WriteCompressedPly, scene));
    const std::vector<std::uint32_t> order = MortonOrder(scene);
    for (std::size_t i = 0; i < order.size(); ++i) {
        EXPECT_NEAR(OpacityOfLogit(again.Row(kOpacityRow)[i]),
                    OpacityOfLogit(scene.Row(kOpacityRow)[order[i]]), 0.5F / 255 + 1e-6F);
        const std::array<double, 4> a = UnitRotation(scene, order[i]);
        const std::array<double, 4> b = UnitRotation(again, i);
        const double cosine = a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3];
        // Three parts, each off by half a step of sqrt(2) / 1023; the fourth follows from them and
        // is at least 0.5, so it is off by at most sqrt(3) times as much as all of them.
        const double step = std::sqrt(2.0) / 1023 / 2;
        EXPECT_GT(std::abs(cosine), 1.0 - 3.0 * step * step * 4.0 / 2.0);
        for (std::size_t row = kHarmonicsRow; row < RawValues(2); ++row) {
            EXPECT_NEAR(again.Row(row)[i], scene.Row(row)[order[i]], 8.0F / 256 / 2 + 1e-6F);
        }
    }
}

TEST(CompressedPly, FileIsTheSameOnAnyNumberOfThreads) {
    const RawScene scene = test::VariedScene(5000, 1);
    EXPECT_TRUE(test::FileOf(WriteCompressedPly, scene, 1) ==
                test::FileOf(WriteCompressedPly, scene, 3));
}

TEST(CompressedPly, OtherPlyFilesAreLeftToTheirReader) {
    for (const std::string bytes :
         {"glTF", "ply\nformat binary_little_endian 1.0\nend_header\n",
          "ply\nformat binary_little_endian 1.0\nelement vertex 0\nproperty float x\n"
          "end_header\n"}) {
        EXPECT_THROW(static_cast<void>(ReadCompressed(bytes)), std::logic_error) << bytes;
    }
}

std::string PlyWith(std::string bytes, const std::string& from, const std::string& to) {
    return bytes.replace(bytes.find(from), from.size(), to);
}

TEST(CompressedPly, WhatDoesNotFitTogetherIsRefused) {
    const std::string bytes =
        CompressedBytes({kChunk, kVertices, {std::string(9, '\x80'), std::string(9, '\x80')}});
    ASSERT_EQ(CompressedRefusal(bytes), "");
    EXPECT_NE(CompressedRefusal(bytes.substr(0, bytes.size() - 1)), "");
    EXPECT_EQ(CompressedRefusal(PlyWith(bytes, "element chunk 1", "element other 1")),
              "it has no element \"chunk\"");
    EXPECT_EQ(CompressedRefusal(PlyWith(bytes, "element chunk 1", "element chunk 0")),
              "it has 0 chunks, too few for 2 Gaussians");
    EXPECT_EQ(CompressedRefusal(PlyWith(bytes, "min_scale_y", "min_scale_q")),
              "its element \"chunk\" has no \"min_scale_y\"");
    EXPECT_EQ(CompressedRefusal(PlyWith(bytes, "packed_scale", "packed_other")),
              "its element \"vertex\" has no \"packed_scale\"");
    EXPECT_EQ(CompressedRefusal(PlyWith(bytes, "uint packed_scale", "float packed_scale")),
              "its \"packed_scale\" is not of 32 bits");
    EXPECT_EQ(CompressedRefusal(PlyWith(bytes, "element sh 2", "element sh 1")),
              "it has 2 Gaussians, but 1 of them have harmonics");
    EXPECT_EQ(CompressedRefusal(PlyWith(bytes, "property uchar f_rest_8\n", "")),
              "it has 8 coefficients f_rest, not 0, 9, 24 or 45");
    EXPECT_EQ(CompressedRefusal(PlyWith(bytes, "uchar f_rest_8", "char f_rest_8")),
              "its \"f_rest_8\" is not a byte");
    EXPECT_EQ(
        CompressedRefusal(PlyWith(bytes, "uint packed_color", "list uchar uint packed_color")),
        "it has lists among its Gaussians");
}

TEST(CompressedPly, MoreGaussiansThanThereIsMemoryAreRefused) {
    EXPECT_NE(CompressedRefusal(PlyWith(CompressedBytes({kChunk, kVertices}), "element vertex 2",
                                        "element vertex 4000000000")),
              "");
}

TEST(MortonOrder, NeighboursInSpaceComeTogether) {
    RawScene scene({8, 0, {}});
    // The corners of a cube, which is taller than wide, from the last one to the first.
    for (std::size_t i = 0; i < 8; ++i) {
        const std::size_t corner = 7 - i;
        scene.Row(kPositionRow)[i] = (corner & 1U) != 0 ? 1.0F : -1.0F;
        scene.Row(kPositionRow + 1)[i] = (corner & 2U) != 0 ? 100.0F : 0.0F;
        scene.Row(kPositionRow + 2)[i] = (corner & 4U) != 0 ? 3.0F : 2.0F;
    }
    EXPECT_EQ(MortonOrder(scene), (std::vector<std::uint32_t>{7, 6, 5, 4, 3, 2, 1, 0}));
}

TEST(MortonOrder, PlacesThatAreEqualKeepTheirOrder) {
    RawScene scene({5, 0, {}});
    for (std::size_t row = 0; row < 3; ++row) std::fill_n(scene.Row(row), 5, 1.0F);
    EXPECT_EQ(MortonOrder(scene), (std::vector<std::uint32_t>{0, 1, 2, 3, 4}));
    EXPECT_TRUE(MortonOrder(RawScene(SceneFacts{})).empty());
}

}  // namespace
}  // namespace vistrel
