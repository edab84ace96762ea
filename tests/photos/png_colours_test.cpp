// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/png_colours.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "tests/support/icc_profiles.h"
#include "tests/support/picture_formats.h"
#include "tests/support/test_pictures.h"

namespace vistrel {
namespace {

using namespace std::string_literals;

PhotoColours ReadColours(const std::string& file) {
    return ReadPngColours(std::as_bytes(std::span(file)));
}

std::string Plain() {
    return test::EncodePng(test::NoisePicture(4, 3));
}

std::string Packed(const std::string& content) {
    uLongf size = compressBound(content.size());
    std::string packed(size, '\0');
    EXPECT_EQ(compress(reinterpret_cast<Bytef*>(packed.data()), &size,
                       reinterpret_cast<const Bytef*>(content.data()), content.size()),
              Z_OK);
    packed.resize(size);
    return packed;
}

std::string WithProfile(const std::string& profile) {
    return test::WithPngChunk(Plain(), "iCCP", "name\0\0"s + Packed(profile));
}

std::string Numbers(std::initializer_list<std::uint32_t> numbers) {
    std::string text;
    for (const std::uint32_t number : numbers) {
        for (int shift = 24; shift >= 0; shift -= 8) {
            text += static_cast<char>((number >> shift) & 0xFF);
        }
    }
    return text;
}

std::string WithGamma(const std::string& png, std::uint32_t gamma) {
    return test::WithPngChunk(png, "gAMA", Numbers({gamma}));
}

std::string WithAdobeChromaticities(const std::string& png) {
    return test::WithPngChunk(png, "cHRM",
                              Numbers({31270, 32900, 64000, 33000, 21000, 71000, 15000, 6000}));
}

void ExpectNothingTold(const std::string& file) {
    const PhotoColours colours = ReadColours(file);
    EXPECT_TRUE(colours.iccProfile.empty());
    EXPECT_EQ(colours.coded.primaries, 2);
    EXPECT_EQ(colours.coded.transfer, 2);
    EXPECT_EQ(colours.gamma, 0);
    EXPECT_EQ(colours.chromaticities[0], 0);
}

TEST(PngColours, PlainPictureTellsNothing) {
    ExpectNothingTold(Plain());
}

TEST(PngColours, OtherFilesTellNothing) {
    ExpectNothingTold("");
    ExpectNothingTold(test::EncodeJpeg(test::NoisePicture(4, 3), 90));
}

TEST(PngColours, ProfileIsUnpacked) {
    const std::string profile(100'000, 'p');
    EXPECT_EQ(ReadColours(WithProfile(profile)).iccProfile, test::ToBytes(profile));
}

TEST(PngColours, CodesWeighMoreThanAProfile) {
    const PhotoColours colours =
        ReadColours(test::WithPngChunk(WithProfile("profile"), "cICP", "\x0C\x0D\0\1"s));
    EXPECT_EQ(colours.coded.primaries, 12);
    EXPECT_EQ(colours.coded.transfer, 13);
    EXPECT_TRUE(colours.iccProfile.empty());
}

TEST(PngColours, CodesThatAreNotOfFullRgbArePassedOver) {
    for (const std::string& codes : {"\x0C\x0D\1\1"s, "\x0C\x0D\0\0"s, "\x0C\x0D\0"s}) {
        const PhotoColours colours =
            ReadColours(test::WithPngChunk(WithProfile("profile"), "cICP", codes));
        EXPECT_EQ(colours.iccProfile, test::ToBytes("profile"));
        EXPECT_EQ(colours.coded.primaries, 2);
    }
}

TEST(PngColours, ProfileWeighsMoreThanSrgb) {
    const PhotoColours colours =
        ReadColours(test::WithPngChunk(WithProfile("profile"), "sRGB", "\0"s));
    EXPECT_EQ(colours.iccProfile, test::ToBytes("profile"));
}

TEST(PngColours, SrgbWeighsMoreThanGamma) {
    ExpectNothingTold(
        test::WithPngChunk(WithAdobeChromaticities(WithGamma(Plain(), 55556)), "sRGB", "\0"s));
}

TEST(PngColours, GammaIsTold) {
    EXPECT_DOUBLE_EQ(ReadColours(WithGamma(Plain(), 55556)).gamma, 0.55556);
}

TEST(PngColours, GammaOfSrgbIsNothingTold) {
    ExpectNothingTold(WithGamma(Plain(), 45455));
}

TEST(PngColours, ChromaticitiesAreTold) {
    const PhotoColours colours = ReadColours(WithAdobeChromaticities(WithGamma(Plain(), 45455)));
    EXPECT_DOUBLE_EQ(colours.chromaticities[0], 0.3127);
    EXPECT_DOUBLE_EQ(colours.chromaticities[4], 0.21);
    EXPECT_DOUBLE_EQ(colours.chromaticities[7], 0.06);
    EXPECT_EQ(colours.gamma, 0);
}

TEST(PngColours, ChromaticitiesOfSrgbAreNothingTold) {
    ExpectNothingTold(test::WithPngChunk(
        Plain(), "cHRM", Numbers({31270, 32900, 64000, 33000, 30000, 60000, 15000, 6000})));
}

TEST(PngColours, ProfileThatUnpacksToTooMuchIsRefused) {
    ExpectNothingTold(WithProfile(std::string((16 << 20) + 1, '\0')));
}

TEST(PngColours, DamagedProfileGivesWayToGamma) {
    const std::string packed = Packed("profile");
    for (const std::string& content :
         {"name\0\0"s + packed.substr(0, packed.size() - 6), "name\0\0nonsense"s,
          "name\0\1"s + packed, "name\0"s, "name"s, ""s}) {
        const PhotoColours colours =
            ReadColours(test::WithPngChunk(WithGamma(Plain(), 55556), "iCCP", content));
        EXPECT_TRUE(colours.iccProfile.empty());
        EXPECT_DOUBLE_EQ(colours.gamma, 0.55556);
    }
}

TEST(PngColours, FileThatEndsInAChunkTellsNothingOfIt) {
    const std::string file = WithProfile("profile");
    const std::size_t begin = file.find("iCCP");
    for (std::size_t size = 0; size < begin + 15; ++size) ExpectNothingTold(file.substr(0, size));
}

TEST(PngColours, ChunkOfAnotherLengthIsPassedOver) {
    ExpectNothingTold(test::WithPngChunk(Plain(), "gAMA", "\1\2\3"s));
    ExpectNothingTold(test::WithPngChunk(Plain(), "cHRM", "\1\2\3"s));
}

}  // namespace
}  // namespace vistrel
