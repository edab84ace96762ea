// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/hdr_tones.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "photos/colour_conversion.h"
#include "tests/support/plain_colours.h"

namespace vistrel {
namespace {

constexpr int kPq = 16;
constexpr int kHlg = 18;

// Light in cd/m2 to PQ's samples 0..1, as SMPTE ST 2084 has it.
double PqSample(double nits) {
    const double power = std::pow(nits / 10000, 0.1593017578125);
    return std::pow((0.8359375 + 18.8515625 * power) / (1 + 18.6875 * power), 78.84375);
}

std::uint16_t Word(double sample) {
    return static_cast<std::uint16_t>(std::lround(sample * 65535));
}

using Colour = std::array<double, 3>;

// What becomes of colours whose samples are 0..1.
std::vector<std::array<int, 4>> Shown(const std::vector<Colour>& colours, int transfer,
                                      int primaries = 9) {
    DecodedPhoto photo;
    photo.width = static_cast<int>(colours.size());
    photo.height = 1;
    photo.format = SampleFormat::Words;
    photo.colours.coded = {primaries, transfer};
    AllocateSamples(photo);
    auto* samples = reinterpret_cast<std::uint16_t*>(photo.samples.get());
    for (const Colour& colour : colours) {
        for (const double sample : colour) *samples++ = Word(sample);
        *samples++ = 0x4321;
    }
    const Picture picture = ToSrgbPicture(std::move(photo), true);
    std::vector<std::array<int, 4>> shown(colours.size());
    for (std::size_t i = 0; i < shown.size(); ++i) {
        for (std::size_t k = 0; k < 4; ++k) shown[i][k] = picture.pixels[4 * i + k];
    }
    return shown;
}

Colour PqColour(double red, double green, double blue) {
    return {PqSample(red), PqSample(green), PqSample(blue)};
}

Colour PqGrey(double nits) {
    return PqColour(nits, nits, nits);
}

void ExpectRisingGreys(int transfer) {
    std::vector<Colour> ramp;
    for (int i = 0; i <= 1000; ++i) ramp.push_back({i / 1000.0, i / 1000.0, i / 1000.0});
    const auto shown = Shown(ramp, transfer);
    EXPECT_EQ(shown.front()[0], 0);
    EXPECT_EQ(shown.back()[0], 255);
    int before = 0;
    for (const auto& pixel : shown) {
        ASSERT_LE(std::abs(pixel[0] - pixel[1]), 1);
        ASSERT_LE(std::abs(pixel[1] - pixel[2]), 1);
        ASSERT_GE(pixel[1], before);
        before = pixel[1];
    }
}

TEST(HdrTones, GreysOfPqRise) {
    ExpectRisingGreys(kPq);
}

TEST(HdrTones, GreysOfHlgRise) {
    ExpectRisingGreys(kHlg);
}

TEST(HdrTones, PaperWhiteIsWhiteWhereNothingIsBrighter) {
    EXPECT_NEAR(Shown({PqGrey(203), PqGrey(20)}, kPq)[0][1], 255, 1);
}

TEST(HdrTones, WithoutHighlightsLightIsInProportion) {
    const double expected = test::PlainSrgbSample(0.25) * 255;
    EXPECT_NEAR(Shown({PqGrey(203), PqGrey(203.0 / 4)}, kPq)[1][1], expected, 1);
}

TEST(HdrTones, PaperWhiteMakesRoomForHighlights) {
    EXPECT_NEAR(Shown({PqGrey(203), PqGrey(1000)}, kPq)[0][1], 229, 1);
    EXPECT_NEAR(Shown({PqGrey(203), PqGrey(10000)}, kPq)[0][1], 195, 1);
}

TEST(HdrTones, DarkTonesKeepTheirLightUnderHighlights) {
    const double expected = test::PlainSrgbSample(10.0 / 203) * 255;
    EXPECT_NEAR(Shown({PqGrey(10), PqGrey(10000)}, kPq)[0][1], expected, 1);
}

TEST(HdrTones, BrightestLightIsWhite) {
    for (const double nits : {1000.0, 4000.0, 10000.0}) {
        const auto shown = Shown({PqGrey(nits), PqGrey(100)}, kPq);
        EXPECT_EQ(shown[0][0], 255);
        EXPECT_EQ(shown[0][1], 255);
        EXPECT_EQ(shown[0][2], 255);
    }
}

TEST(HdrTones, HlgAtThreeQuartersIsPaperWhite) {
    // A display of 1000 cd/m2 shows it at 203.
    const double white = Shown({{0.75, 0.75, 0.75}, {1, 1, 1}}, kHlg)[0][1];
    EXPECT_NEAR(white, Shown({PqGrey(203), PqGrey(1000)}, kPq)[0][1], 1);
}

TEST(HdrTones, HighlightKeepsItsHue) {
    // In primaries of sRGB, so that nothing lies outside.
    const auto shown = Shown({PqColour(8000, 4000, 2000), PqColour(100, 100, 100)}, kPq, 1)[0];
    const double red = test::PlainSrgbLight(shown[0] / 255.0);
    const double green = test::PlainSrgbLight(shown[1] / 255.0);
    const double blue = test::PlainSrgbLight(shown[2] / 255.0);
    EXPECT_NEAR(green / red, 0.5, 0.03);
    EXPECT_NEAR(blue / red, 0.25, 0.03);
    EXPECT_GT(shown[0], 240);
}

TEST(HdrTones, ColoursOutsideOfSrgbStayApart) {
    std::vector<Colour> ramp;
    for (int i = 0; i <= 20; ++i) ramp.push_back(PqColour(100 - 5 * i, 100, 100 - 5 * i));
    ramp.push_back(PqGrey(203));
    const auto shown = Shown(ramp, kPq);
    for (std::size_t i = 1; i + 1 < ramp.size(); ++i) {
        EXPECT_LT(shown[i][0], shown[i - 1][0]) << i;
    }
}

TEST(HdrTones, SparksDoNotDarkenThePicture) {
    std::vector<Colour> colours(20000, PqGrey(203));
    colours[77] = PqGrey(10000);
    const auto shown = Shown(colours, kPq);
    EXPECT_NEAR(shown[0][1], 255, 1);
    EXPECT_EQ(shown[77][1], 255);
}

TEST(HdrTones, AlphaIsCarried) {
    EXPECT_EQ(Shown({PqGrey(50)}, kPq)[0][3], 0x43);
}

TEST(HdrTones, BytesAreShownAsWords) {
    DecodedPhoto photo;
    photo.width = 256;
    photo.height = 1;
    photo.colours.coded = {9, kPq};
    AllocateSamples(photo);
    std::vector<Colour> colours;
    for (int i = 0; i < 256; ++i) {
        colours.push_back({i / 255.0, i / 255.0, i / 255.0});
        std::memset(photo.samples.get() + 4 * i, i, 4);
    }
    const auto words = Shown(colours, kPq);
    const Picture picture = ToSrgbPicture(std::move(photo), true);
    for (std::size_t i = 0; i < 256; ++i) {
        EXPECT_NEAR(picture.pixels[4 * i + 1], words[i][1], 1);
        EXPECT_EQ(picture.pixels[4 * i + 3], i);
    }
}

TEST(HdrTones, BlackPictureIsBlack) {
    const auto shown = Shown({{0, 0, 0}}, kHlg)[0];
    EXPECT_EQ(shown[0] + shown[1] + shown[2], 0);
}

}  // namespace
}  // namespace vistrel
