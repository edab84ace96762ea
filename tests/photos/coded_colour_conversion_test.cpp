// SPDX-License-Identifier: GPL-3.0-or-later
// Colours that numbers name instead of a profile.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

#include "tests/photos/converted_colours.h"

namespace vistrel {
namespace {

using test::ByTwin;
using test::Converted;
using test::ConvertedBy;
using test::DisplayP3;
using test::ExpectNear;
using test::Noise;
using test::Photo;
using test::PhotoOfBytes;
using test::SoftNoise;
using test::Widened;

double LightOfTelevision(double sample) {
    return sample < 0.081 ? sample / 4.5 : std::pow((sample + 0.099) / 1.099, 1 / 0.45);
}

TEST(ColourConversion, SixteenBitsOfTelevisionAreWithinALevelOfTheDefinition) {
    DecodedPhoto photo = Photo(Widened(SoftNoise()), 1, SampleFormat::Words);
    photo.colours.coded = {9, 1};
    ExpectNear(Converted(std::move(photo)),
               ByTwin(test::kPlain2020, LightOfTelevision, SoftNoise()));
}

std::vector<std::uint8_t> ConvertedFromCodes(int primaries, int transfer,
                                             const std::vector<std::uint8_t>& samples) {
    DecodedPhoto photo = PhotoOfBytes(samples);
    photo.colours.coded = {primaries, transfer};
    return Converted(std::move(photo));
}

TEST(ColourConversion, CodesOfSrgbChangeNothing) {
    EXPECT_EQ(ConvertedFromCodes(1, 13, Noise()), Noise());
    EXPECT_EQ(ConvertedFromCodes(2, 13, Noise()), Noise());
    EXPECT_EQ(ConvertedFromCodes(1, 2, Noise()), Noise());
}

TEST(ColourConversion, CodesOfDisplayP3AreItsProfile) {
    ExpectNear(ConvertedFromCodes(12, 13, SoftNoise()), ConvertedBy(DisplayP3(), SoftNoise()));
}

TEST(ColourConversion, CodesOfTelevisionAreWithinALevelOfTheDefinition) {
    for (const int transfer : {1, 6, 14, 15}) {
        ExpectNear(ConvertedFromCodes(9, transfer, SoftNoise()),
                   ByTwin(test::kPlain2020, LightOfTelevision, SoftNoise()));
    }
}

TEST(ColourConversion, CodesOfPowersAreWithinALevelOfTheDefinition) {
    ExpectNear(ConvertedFromCodes(1, 4, SoftNoise()),
               ByTwin(test::kPlainSrgb, test::PlainPower(2.2), SoftNoise()));
    ExpectNear(ConvertedFromCodes(1, 5, SoftNoise()),
               ByTwin(test::kPlainSrgb, test::PlainPower(2.8), SoftNoise()));
    ExpectNear(ConvertedFromCodes(1, 8, SoftNoise()),
               ByTwin(test::kPlainSrgb, test::PlainPower(1), SoftNoise()));
}

TEST(ColourConversion, UnknownCodesChangeNothing) {
    EXPECT_EQ(ConvertedFromCodes(250, 251, Noise()), Noise());
}

TEST(ColourConversion, GammaAndChromaticitiesAreWithinALevelOfTheDefinition) {
    DecodedPhoto photo = PhotoOfBytes(SoftNoise());
    photo.colours.gamma = 1 / 1.8;
    std::copy(test::kPlainAdobe.begin(), test::kPlainAdobe.end(), photo.colours.chromaticities);
    ExpectNear(Converted(std::move(photo)),
               ByTwin(test::kPlainAdobe, test::PlainPower(1.8), SoftNoise()));
}

TEST(ColourConversion, ChromaticitiesThatAreNoneAreIgnored) {
    DecodedPhoto photo = PhotoOfBytes(Noise());
    for (double& number : photo.colours.chromaticities) number = 0.25;
    EXPECT_EQ(Converted(std::move(photo)), Noise());
}

}  // namespace
}  // namespace vistrel
