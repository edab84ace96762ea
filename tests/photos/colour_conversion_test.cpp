// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/colour_conversion.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/photos/converted_colours.h"
#include "tests/support/icc_profiles.h"
#include "tests/support/plain_colours.h"
#include "tests/support/test_pictures.h"

namespace vistrel {
namespace {

using test::ByTwin;
using test::Converted;
using test::ConvertedBy;
using test::DisplayP3;
using test::ExpectNear;
using test::Greys;
using test::IccOfDisplay;
using test::IccSrgbCurve;
using test::kNoiseSide;
using test::Noise;
using test::Photo;
using test::PhotoOfBytes;
using test::Pixels;
using test::SoftNoise;
using test::ToBytes;
using test::Widened;
using namespace std::string_literals;

TEST(ColourConversion, PhotographThatTellsNothingKeepsItsMemory) {
    DecodedPhoto photo = PhotoOfBytes(Noise(), kNoiseSide);
    const std::uint8_t* const memory = photo.samples.get();
    const Picture picture = ToSrgbPicture(std::move(photo), true);
    EXPECT_EQ(picture.pixels.get(), memory);
    EXPECT_EQ(picture.width, kNoiseSide);
    EXPECT_EQ(picture.height, kNoiseSide);
    EXPECT_EQ(Pixels(picture), Noise());
}

TEST(ColourConversion, SrgbProfileChangesNothing) {
    const std::string profile = IccOfDisplay(test::kPlainSrgb, IccSrgbCurve());
    EXPECT_EQ(ConvertedBy(profile, Noise()), Noise());
}

TEST(ColourConversion, DisplayP3IsWithinALevelOfTheDefinition) {
    ExpectNear(ConvertedBy(DisplayP3(), SoftNoise()),
               ByTwin(test::kPlainP3, test::PlainSrgbLight, SoftNoise()));
}

TEST(ColourConversion, DisplayP3LeavesGreysAsTheyAre) {
    EXPECT_EQ(ConvertedBy(DisplayP3(), Greys()), Greys());
}

TEST(ColourConversion, AdobeRgbIsWithinALevelOfTheDefinition) {
    constexpr double kGamma = 563.0 / 256;
    ExpectNear(ConvertedBy(IccOfDisplay(test::kPlainAdobe, test::IccPower(kGamma)), SoftNoise()),
               ByTwin(test::kPlainAdobe, test::PlainPower(kGamma), SoftNoise()));
}

TEST(ColourConversion, WideGamutIsWithinALevelOfTheDefinition) {
    constexpr test::PlainPrimaries kProPhotoAtD65 = {0.3127, 0.3290, 0.7347, 0.2653,
                                                     0.1596, 0.8404, 0.0366, 0.0001};
    constexpr double kGamma = 461.0 / 256;
    ExpectNear(ConvertedBy(IccOfDisplay(kProPhotoAtD65, test::IccPower(kGamma)), SoftNoise()),
               ByTwin(kProPhotoAtD65, test::PlainPower(kGamma), SoftNoise()));
}

TEST(ColourConversion, SixteenBitsAreConvertedAsEight) {
    DecodedPhoto photo = Photo(Widened(SoftNoise()), 1, SampleFormat::Words);
    photo.colours.iccProfile = ToBytes(DisplayP3());
    ExpectNear(Converted(std::move(photo)),
               ByTwin(test::kPlainP3, test::PlainSrgbLight, SoftNoise()));
}

TEST(ColourConversion, SixteenBitsOfLightKeepTheirShadows) {
    std::vector<std::uint16_t> samples;
    std::vector<std::uint8_t> expected;
    for (int light = 0; light < 65536; light += 7) {
        const double sample = test::PlainSrgbSample(light / 65535.0);
        for (int i = 0; i < 3; ++i) {
            samples.push_back(static_cast<std::uint16_t>(light));
            expected.push_back(static_cast<std::uint8_t>(std::lround(sample * 255)));
        }
        samples.push_back(65535);
        expected.push_back(255);
    }
    DecodedPhoto photo = Photo(samples, 1, SampleFormat::Words);
    photo.colours.iccProfile = ToBytes(IccOfDisplay(test::kPlainSrgb, test::IccPower(1)));
    ExpectNear(Converted(std::move(photo)), expected);
}

TEST(ColourConversion, FloatsAreConvertedAsBytes) {
    std::vector<float> samples;
    for (const std::uint8_t byte : SoftNoise()) samples.push_back(static_cast<float>(byte) / 255);
    DecodedPhoto photo = Photo(samples, 1, SampleFormat::Floats);
    photo.colours.iccProfile = ToBytes(DisplayP3());
    ExpectNear(Converted(std::move(photo)),
               ByTwin(test::kPlainP3, test::PlainSrgbLight, SoftNoise()));
}

TEST(ColourConversion, EveryPixelOfALargePictureIsConvertedOnce) {
    const std::vector<std::uint8_t> samples = test::NoisePicture(500, 301, false).rgba;
    ExpectNear(ConvertedBy(DisplayP3(), samples),
               ByTwin(test::kPlainP3, test::PlainSrgbLight, samples));
}

TEST(ColourConversion, SeveralThreadsConvertAtATime) {
    const std::vector<std::uint8_t> expected = ConvertedBy(DisplayP3(), Noise());
    std::array<std::vector<std::uint8_t>, 4> results;
    {
        std::vector<std::jthread> threads;
        threads.reserve(results.size());
        for (auto& result : results) {
            threads.emplace_back([&result] { result = ConvertedBy(DisplayP3(), Noise()); });
        }
    }
    for (const auto& result : results) EXPECT_EQ(result, expected);
}

// Black and white stay, and every full colour becomes a middle grey.
std::string TableProfile() {
    std::vector<test::IccLab> corners(8, "\x80\x80\x80");
    corners.front() = {"\0\x80\x80", 3};
    corners.back() = "\xFF\x80\x80";
    return test::IccTable("RGB ", corners);
}

TEST(ColourConversion, ProfileThatIsATableConverts) {
    ExpectNear(ConvertedBy(TableProfile(), {255, 255, 255, 9, 255, 0, 0, 8, 0, 0, 0, 7}),
               {255, 255, 255, 9, 119, 119, 119, 8, 0, 0, 0, 7});
}

TEST(ColourConversion, SixteenBitsByATableKeepTheirAlpha) {
    DecodedPhoto photo = Photo<std::uint16_t>({0, 65535, 65535, 0x1234}, 1, SampleFormat::Words);
    photo.colours.iccProfile = ToBytes(TableProfile());
    ExpectNear(Converted(std::move(photo)), {119, 119, 119, 0x12});
}

TEST(ColourConversion, GreyProfileConvertsGreys) {
    ExpectNear(ConvertedBy(test::IccOfGrey(test::IccPower(1.8)), Greys()),
               ByTwin(test::kPlainSrgb, test::PlainPower(1.8), Greys()));
}

TEST(ColourConversion, GreyProfileConvertsGreysOfSixteenBits) {
    DecodedPhoto photo = Photo(Widened(Greys()), 1, SampleFormat::Words);
    photo.colours.iccProfile = ToBytes(test::IccOfGrey(test::IccPower(1.8)));
    ExpectNear(Converted(std::move(photo)),
               ByTwin(test::kPlainSrgb, test::PlainPower(1.8), Greys()));
}

TEST(ColourConversion, GreyProfileOfAColourPictureIsIgnored) {
    EXPECT_EQ(ConvertedBy(test::IccOfGrey(test::IccPower(1.8)), Noise()), Noise());
}

// No ink is white, black ink is black, and all others together a dark blue.
std::string CmykProfile() {
    std::vector<test::IccLab> corners(16, "\x40\x80\x60");
    for (std::size_t i = 1; i < corners.size(); i += 2) corners[i] = {"\0\x80\x80", 3};
    corners[0] = "\xFF\x80\x80";
    return test::IccTable("CMYK", corners);
}

DecodedPhoto PhotoOfInks(const std::vector<std::uint8_t>& inks) {
    DecodedPhoto photo = PhotoOfBytes(inks);
    photo.model = ColourModel::Cmyk;
    return photo;
}

TEST(ColourConversion, CmykWithoutAProfileTakesLightAway) {
    const Picture picture =
        ToSrgbPicture(PhotoOfInks({0, 0, 0, 0, 255, 0, 0, 0, 0, 0, 0, 255, 0, 51, 102, 128}), true);
    const std::vector<std::uint8_t> expected = {255, 255, 255, 255, 0,   255, 255, 255,
                                                0,   0,   0,   255, 127, 102, 76,  255};
    EXPECT_EQ(Pixels(picture), expected);
    EXPECT_TRUE(picture.opaque);
}

TEST(ColourConversion, CmykProfileMixesItsInks) {
    DecodedPhoto photo = PhotoOfInks({0, 0, 0, 0, 255, 255, 255, 0, 0, 0, 0, 255});
    photo.colours.iccProfile = ToBytes(CmykProfile());
    const std::vector<std::uint8_t> pixels = Converted(std::move(photo));
    ExpectNear({pixels.begin(), pixels.begin() + 4}, {255, 255, 255, 255});
    EXPECT_LT(pixels[4], pixels[6]);
    EXPECT_EQ(pixels[7], 255);
    ExpectNear({pixels.begin() + 8, pixels.end()}, {0, 0, 0, 255});
}

TEST(ColourConversion, CmykOfSixteenBitsIsMixedAsThatOfEight) {
    const std::vector<std::uint8_t> inks = {10, 200, 30, 40, 250, 60, 170, 0};
    DecodedPhoto bytes = PhotoOfInks(inks);
    bytes.colours.iccProfile = ToBytes(CmykProfile());
    DecodedPhoto words = Photo(Widened(inks), 1, SampleFormat::Words);
    words.model = ColourModel::Cmyk;
    words.colours.iccProfile = ToBytes(CmykProfile());
    ExpectNear(Converted(std::move(words)), Converted(std::move(bytes)));
}

TEST(ColourConversion, ProfileOfOtherInksIsIgnored) {
    DecodedPhoto photo = PhotoOfInks({0, 51, 102, 128});
    photo.colours.iccProfile = ToBytes(DisplayP3());
    EXPECT_EQ(Converted(std::move(photo)), (std::vector<std::uint8_t>{127, 102, 76, 255}));
    EXPECT_EQ(ConvertedBy(CmykProfile(), Noise()), Noise());
}

TEST(ColourConversion, BrokenProfileIsIgnored) {
    EXPECT_EQ(ConvertedBy("no profile", Noise()), Noise());
    EXPECT_EQ(ConvertedBy(DisplayP3().substr(0, 200), Noise()), Noise());
    std::string withoutRed = DisplayP3();
    withoutRed.replace(withoutRed.find("rXYZ"), 4, "none");
    EXPECT_EQ(ConvertedBy(withoutRed, Noise()), Noise());
}

TEST(ColourConversion, ProfileOfUnknownColoursOrOfNoDeviceIsIgnored) {
    std::string ofNothing = DisplayP3();
    ofNothing.replace(16, 4, "\xC7\x52\0\x19"s);
    EXPECT_EQ(ConvertedBy(ofNothing, Noise()), Noise());
    std::string link = DisplayP3();
    link.replace(12, 4, "link");
    EXPECT_EQ(ConvertedBy(link, Noise()), Noise());
}

TEST(ColourConversion, NothingIsConvertedWhereThatIsTurnedOff) {
    DecodedPhoto photo = PhotoOfBytes(Noise());
    photo.colours.iccProfile = ToBytes(DisplayP3());
    photo.colours.coded = {9, 16};
    EXPECT_EQ(Pixels(ToSrgbPicture(std::move(photo), false)), Noise());
}

TEST(ColourConversion, SixteenBitsLoseTheirLowerHalf) {
    DecodedPhoto photo =
        Photo<std::uint16_t>({0x01FF, 0x80FE, 0xFF00, 0x7FFF}, 1, SampleFormat::Words);
    EXPECT_EQ(Converted(std::move(photo)), (std::vector<std::uint8_t>{0x01, 0x80, 0xFF, 0x7F}));
}

TEST(ColourConversion, FloatsAreRoundedAndBounded) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    DecodedPhoto photo =
        Photo<float>({-1, 0.5F, 2, 1, nan, 0.1F, 1e30F, 0.75F}, 1, SampleFormat::Floats);
    EXPECT_EQ(Converted(std::move(photo)),
              (std::vector<std::uint8_t>{0, 128, 255, 255, 0, 26, 255, 191}));
}

TEST(ColourConversion, LinearFloatsAreEncodedAlways) {
    for (const bool convertColours : {true, false}) {
        DecodedPhoto photo = Photo<float>({0.001F, 0.2F, 3, 0.5F}, 1, SampleFormat::Floats);
        photo.colours.coded.transfer = 8;
        ExpectNear(Pixels(ToSrgbPicture(std::move(photo), convertColours)), {3, 124, 255, 127});
    }
}

TEST(ColourConversion, OpaquePictureStaysOpaque) {
    for (const bool opaque : {true, false}) {
        DecodedPhoto photo = PhotoOfBytes(test::NoisePicture(kNoiseSide, kNoiseSide).rgba);
        photo.opaque = opaque;
        photo.colours.iccProfile = ToBytes(DisplayP3());
        EXPECT_EQ(ToSrgbPicture(std::move(photo), true).opaque, opaque);
    }
}

}  // namespace
}  // namespace vistrel
