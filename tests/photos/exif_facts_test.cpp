// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/exif_facts.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/exif_bytes.h"
#include "tests/support/test_pictures.h"

namespace vistrel {
namespace {

constexpr std::uint16_t kExifRatio = 5;
constexpr std::uint16_t kSubDirectory = 0x8769;
constexpr std::uint16_t kFocalLength = 0x920A;
constexpr std::uint16_t kPixelWidth = 0xA002;
constexpr std::uint16_t kPixelHeight = 0xA003;
constexpr std::uint16_t kPlaneXResolution = 0xA20E;
constexpr std::uint16_t kPlaneUnit = 0xA210;
constexpr std::uint16_t kFocal35mm = 0xA405;

struct Tag {
    std::uint16_t tag;
    std::uint16_t type;
    std::uint32_t first;
    std::uint32_t second = 1;  // of a ratio
};

std::string Number(std::uint32_t value, int bytes) {
    return test::ExifNumber(value, bytes, false);
}

// A block whose sub-directory, at offset 26, has these tags.
std::string Block(const std::vector<Tag>& tags) {
    std::string entries = Number(static_cast<std::uint32_t>(tags.size()), 2);
    std::string ratios;
    const std::size_t ratiosAt = 26 + 2 + (tags.size() * 12) + 4;
    for (const Tag& tag : tags) {
        entries += Number(tag.tag, 2) + Number(tag.type, 2) + Number(1, 4);
        if (tag.type == kExifRatio) {
            entries += Number(static_cast<std::uint32_t>(ratiosAt + ratios.size()), 4);
            ratios += Number(tag.first, 4) + Number(tag.second, 4);
        } else {
            entries += Number(tag.first, 4);
        }
    }
    return test::TiffBlock({kSubDirectory, test::kExifLong, 1, Number(26, 4)},
                           entries + Number(0, 4) + ratios);
}

ExifFacts FactsOf(const std::string& block) {
    return ReadExifBlock(std::as_bytes(std::span(block)));
}

TEST(ExifFacts, WhatIsToldComesThrough) {
    const ExifFacts facts = FactsOf(Block({{kFocalLength, kExifRatio, 425, 100},
                                           {kPixelWidth, test::kExifLong, 4032},
                                           {kPixelHeight, test::kExifShort, 3024},
                                           {kFocal35mm, test::kExifShort, 26}}));
    EXPECT_DOUBLE_EQ(facts.focalLength, 4.25);
    EXPECT_DOUBLE_EQ(facts.focal35mm, 26);
    EXPECT_DOUBLE_EQ(facts.pixelWidth, 4032);
    EXPECT_DOUBLE_EQ(facts.pixelHeight, 3024);
    EXPECT_EQ(facts.orientation, 1);
}

TEST(ExifFacts, ResolutionOfTheSensorInEachUnit) {
    for (const auto& [unit, perMillimetre] : {std::pair(2U, 3600 / 25.4), std::pair(3U, 360.0),
                                              std::pair(4U, 3600.0), std::pair(5U, 3.6e6)}) {
        const ExifFacts facts = FactsOf(Block({{kPlaneXResolution, kExifRatio, 36'000'000, 10'000},
                                               {kPlaneUnit, test::kExifShort, unit}}));
        EXPECT_DOUBLE_EQ(facts.pixelsPerMillimetre, perMillimetre) << unit;
    }
}

TEST(ExifFacts, ResolutionWithoutAUnitIsPerInch) {
    const ExifFacts facts = FactsOf(Block({{kPlaneXResolution, kExifRatio, 2540, 1}}));
    EXPECT_DOUBLE_EQ(facts.pixelsPerMillimetre, 100);
}

TEST(ExifFacts, RatioWithoutADenominatorTellsNothing) {
    const ExifFacts facts =
        FactsOf(Block({{kFocalLength, kExifRatio, 50, 0}, {kPlaneXResolution, kExifRatio, 0, 0}}));
    EXPECT_EQ(facts.focalLength, 0);
    EXPECT_EQ(facts.pixelsPerMillimetre, 0);
}

TEST(ExifFacts, OrientationIsAShort) {
    EXPECT_EQ(FactsOf(test::TiffBlock(test::OrientationEntry(6))).orientation, 6);
    EXPECT_EQ(FactsOf(test::TiffBlock(test::OrientationEntry(6, true))).orientation, 6);
    EXPECT_EQ(FactsOf(test::TiffBlock(test::OrientationEntry(0xFFFF))).orientation, -1);
    EXPECT_EQ(
        FactsOf(test::TiffBlock({.type = test::kExifLong, .value = Number(6, 4)})).orientation, 1);
}

TEST(ExifFacts, OfAWholeJpeg) {
    const std::string jpeg = test::JpegWithExif(test::EncodeJpeg(test::NoisePicture(8, 8), 90),
                                                Block({{kFocal35mm, test::kExifShort, 26}}));
    EXPECT_DOUBLE_EQ(ReadExifOfFile(std::as_bytes(std::span(jpeg))).focal35mm, 26);
}

TEST(ExifFacts, EveryBlockThatIsCutTellsWhatItTellsAndNoMore) {
    const std::string block = Block({{kFocalLength, kExifRatio, 425, 100}, {kFocal35mm, 3, 26}});
    for (std::size_t size = 0; size < block.size(); ++size) {
        const double focal = FactsOf(block.substr(0, size)).focalLength;
        EXPECT_TRUE(focal == 0 || focal == 4.25) << size;
    }
}

TEST(ExifFacts, FilesOfNoKindTellNothing) {
    for (const std::string& file : {std::string(), std::string("text"), std::string(1000, 'I')}) {
        EXPECT_EQ(ReadExifOfFile(std::as_bytes(std::span(file))).orientation, 1);
        EXPECT_EQ(FactsOf(file).orientation, 1);
    }
}

}  // namespace
}  // namespace vistrel
