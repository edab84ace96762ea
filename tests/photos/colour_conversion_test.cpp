// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/colour_conversion.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/icc_profiles.h"
#include "tests/support/plain_colours.h"
#include "tests/support/test_pictures.h"

namespace vistrel {
namespace {

using test::IccOfDisplay;
using test::IccSrgbCurve;
using test::ToBytes;
using namespace std::string_literals;

constexpr int kSide = 40;

template <typename Sample>
DecodedPhoto Photo(const std::vector<Sample>& samples, int width, SampleFormat format) {
    DecodedPhoto photo;
    photo.width = width;
    photo.height = static_cast<int>(samples.size() / 4) / width;
    photo.format = format;
    AllocateSamples(photo);
    std::memcpy(photo.samples.get(), samples.data(), samples.size() * sizeof(Sample));
    return photo;
}

DecodedPhoto PhotoOfBytes(const std::vector<std::uint8_t>& samples, int width = 1) {
    return Photo(samples, width, SampleFormat::Bytes);
}

std::vector<std::uint8_t> Noise() {
    return test::NoisePicture(kSide, kSide, false).rgba;
}

// Every second sample greyish, so that not most of them lie at the edges.
std::vector<std::uint8_t> SoftNoise() {
    std::vector<std::uint8_t> samples = Noise();
    for (std::size_t i = 0; i < samples.size(); i += 8) {
        samples[i + 1] = static_cast<std::uint8_t>((samples[i] + samples[i + 1] / 8) / 2);
        samples[i + 2] = static_cast<std::uint8_t>((samples[i] + samples[i + 2] / 8) / 2);
    }
    return samples;
}

std::vector<std::uint8_t> Greys() {
    std::vector<std::uint8_t> samples;
    for (int grey = 0; grey < 256; ++grey) {
        for (const int sample : {grey, grey, grey, 255}) {
            samples.push_back(static_cast<std::uint8_t>(sample));
        }
    }
    return samples;
}

std::vector<std::uint16_t> Widened(const std::vector<std::uint8_t>& bytes) {
    std::vector<std::uint16_t> words;
    words.reserve(bytes.size());
    for (const std::uint8_t byte : bytes) words.push_back(static_cast<std::uint16_t>(byte * 257));
    return words;
}

std::vector<std::uint8_t> Pixels(const Picture& picture) {
    const auto bytes = static_cast<std::size_t>(picture.width) *
                       static_cast<std::size_t>(picture.height) * kPixelBytes;
    return {picture.pixels.get(), picture.pixels.get() + bytes};
}

std::vector<std::uint8_t> Converted(DecodedPhoto photo) {
    return Pixels(ToSrgbPicture(std::move(photo), true));
}

std::vector<std::uint8_t> ConvertedBy(const std::string& profile,
                                      const std::vector<std::uint8_t>& samples) {
    DecodedPhoto photo = PhotoOfBytes(samples);
    photo.colours.iccProfile = ToBytes(profile);
    return Converted(std::move(photo));
}

std::vector<std::uint8_t> ByTwin(const test::PlainPrimaries& primaries,
                                 const test::PlainCurve& curve,
                                 const std::vector<std::uint8_t>& samples) {
    std::vector<std::uint8_t> pixels = samples;
    for (std::size_t i = 0; i < samples.size(); i += 4) {
        const auto pixel = test::PlainToSrgb(
            primaries, curve, {samples[i] / 255.0, samples[i + 1] / 255.0, samples[i + 2] / 255.0});
        std::copy(pixel.begin(), pixel.end(), pixels.begin() + static_cast<std::ptrdiff_t>(i));
    }
    return pixels;
}

void ExpectNear(const std::vector<std::uint8_t>& pixels,
                const std::vector<std::uint8_t>& expected) {
    ASSERT_EQ(pixels.size(), expected.size());
    int farthest = 0;
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        farthest = std::max(farthest, std::abs(pixels[i] - expected[i]));
    }
    EXPECT_LE(farthest, 1);
}

const std::string& DisplayP3() {
    static const std::string profile = IccOfDisplay(test::kPlainP3, IccSrgbCurve());
    return profile;
}

TEST(ColourConversion, PhotographThatTellsNothingKeepsItsMemory) {
    DecodedPhoto photo = PhotoOfBytes(Noise(), kSide);
    const std::uint8_t* const memory = photo.samples.get();
    const Picture picture = ToSrgbPicture(std::move(photo), true);
    EXPECT_EQ(picture.pixels.get(), memory);
    EXPECT_EQ(picture.width, kSide);
    EXPECT_EQ(picture.height, kSide);
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

double LightOfTelevision(double sample) {
    return sample < 0.081 ? sample / 4.5 : std::pow((sample + 0.099) / 1.099, 1 / 0.45);
}

TEST(ColourConversion, ProfileOfUnknownColoursOrOfNoDeviceIsIgnored) {
    std::string ofNothing = DisplayP3();
    ofNothing.replace(16, 4, "\xC7\x52\0\x19"s);
    EXPECT_EQ(ConvertedBy(ofNothing, Noise()), Noise());
    std::string link = DisplayP3();
    link.replace(12, 4, "link");
    EXPECT_EQ(ConvertedBy(link, Noise()), Noise());
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
        DecodedPhoto photo = PhotoOfBytes(test::NoisePicture(kSide, kSide).rgba);
        photo.opaque = opaque;
        photo.colours.iccProfile = ToBytes(DisplayP3());
        EXPECT_EQ(ToSrgbPicture(std::move(photo), true).opaque, opaque);
    }
}

}  // namespace
}  // namespace vistrel
