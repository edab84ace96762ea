// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/focal_length.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace vistrel {
namespace {

using FocalKind = FocalChoice::Kind;

void ExpectChoice(const std::string& text, FocalKind kind, double value) {
    const auto choice = ParseFocalChoice(text);
    ASSERT_TRUE(choice) << text;
    EXPECT_EQ(choice->kind, kind) << text;
    EXPECT_DOUBLE_EQ(choice->value, value) << text;
}

TEST(FocalChoice, WordsAndNumbersWithTheirUnits) {
    ExpectChoice("width", FocalKind::Width, 0);
    ExpectChoice("auto", FocalKind::Auto, 0);
    ExpectChoice("26mm", FocalKind::Millimetres, 26);
    ExpectChoice("4.25mm", FocalKind::Millimetres, 4.25);
    ExpectChoice("3000px", FocalKind::Pixels, 3000);
    ExpectChoice("0.01px", FocalKind::Pixels, 0.01);
    ExpectChoice("1000000mm", FocalKind::Millimetres, 1e6);
}

TEST(FocalChoice, AllOtherTextsAreRefused) {
    for (const char* text :
         {"",         "26",        "mm",      "px",
          "-26mm",    "+26mm",     "0mm",     "0px",
          "26 mm",    " 26mm",     "26mm ",   "26MM",
          "Auto",     "auto26mm",  "26mmpx",  "26,5mm",
          "1e3px",    "0x10px",    "nanmm",   "infpx",
          "nan(1)px", "1000001px", "0.001mm", "99999999999999999999999999999999999999999999999px",
          "2..5mm"}) {
        EXPECT_FALSE(ParseFocalChoice(text)) << text;
    }
}

TEST(PixelsOf35mm, AreByTheDiagonals) {
    // A picture of the film's own proportions is as many pixels wide as the film in millimetres.
    EXPECT_NEAR(PixelsOf35mm(26, 3600, 2400), 2600, 1e-9);
    EXPECT_NEAR(PixelsOf35mm(26, 2400, 3600), 2600, 1e-9);
    // 4:3 has a diagonal of 5000 pixels here.
    EXPECT_NEAR(PixelsOf35mm(43.266615305567875, 4000, 3000), 5000, 1e-9);
}

// A sensor of 36 mm x 24 mm with 100 pixels per millimetre.
ExifFacts FullFrame() {
    ExifFacts facts;
    facts.focalLength = 50;
    facts.pixelsPerMillimetre = 100;
    facts.pixelWidth = 3600;
    facts.pixelHeight = 2400;
    return facts;
}

TEST(FocalLengthByExif, EquivalentOn35mmFilmComesFirst) {
    ExifFacts facts = FullFrame();
    facts.focal35mm = 26;
    EXPECT_NEAR(FocalLengthByExif(facts, 3600, 2400, 1).value(), 2600, 1e-9);
}

TEST(FocalLengthByExif, ElseTheSensorsPixelsTell) {
    EXPECT_NEAR(FocalLengthByExif(FullFrame(), 3600, 2400, 1).value(), 5000, 1e-9);
}

TEST(FocalLengthByExif, SmallerOnesThanToldAreScaled) {
    EXPECT_NEAR(FocalLengthByExif(FullFrame(), 900, 600, 1).value(), 1250, 1e-9);
}

TEST(FocalLengthByExif, TurnedOnesAreMeasuredByTheirLongSides) {
    EXPECT_NEAR(FocalLengthByExif(FullFrame(), 2400, 3600, 1).value(), 5000, 1e-9);
}

TEST(FocalLengthByExif, WithoutAToldSizeThePictureHasTheSensorsPixels) {
    ExifFacts facts = FullFrame();
    facts.pixelWidth = facts.pixelHeight = 0;
    EXPECT_NEAR(FocalLengthByExif(facts, 3600, 2400, 1).value(), 5000, 1e-9);
    EXPECT_NEAR(FocalLengthByExif(facts, 1800, 1200, 2).value(), 2500, 1e-9);
}

TEST(FocalLengthByExif, NothingToldIsNothing) {
    EXPECT_FALSE(FocalLengthByExif({}, 3600, 2400, 1));
    ExifFacts facts = FullFrame();
    facts.pixelsPerMillimetre = 0;
    EXPECT_FALSE(FocalLengthByExif(facts, 3600, 2400, 1));
    facts = FullFrame();
    facts.focalLength = 0;
    EXPECT_FALSE(FocalLengthByExif(facts, 3600, 2400, 1));
}

TEST(FocalLengthByExif, SensorsThatNoCameraHasAreIgnored) {
    for (const double perMillimetre : {1e-9, 1.0, 36000.0, 1e300}) {
        ExifFacts facts = FullFrame();
        facts.pixelsPerMillimetre = perMillimetre;
        EXPECT_FALSE(FocalLengthByExif(facts, 3600, 2400, 1)) << perMillimetre;
    }
}

TEST(FocalLengthByExif, FocalLengthsThatNoLensHasAreIgnored) {
    for (const double millimetres : {1e-3, 1e9, std::numeric_limits<double>::max()}) {
        ExifFacts facts;
        facts.focal35mm = millimetres;
        EXPECT_FALSE(FocalLengthByExif(facts, 3600, 2400, 1)) << millimetres;
        facts = FullFrame();
        facts.focalLength = millimetres;
        EXPECT_FALSE(FocalLengthByExif(facts, 3600, 2400, 1)) << millimetres;
    }
}

TEST(FocalLengthByExif, ImpossibleEquivalentLeavesItToTheSensor) {
    ExifFacts facts = FullFrame();
    facts.focal35mm = 1e9;
    EXPECT_NEAR(FocalLengthByExif(facts, 3600, 2400, 1).value(), 5000, 1e-9);
}

TEST(ChosenFocalLength, WidthIsNothing) {
    EXPECT_FALSE(ChosenFocalLength({}, FullFrame(), 3600, 2400, 1));
}

TEST(ChosenFocalLength, AutoIsByExif) {
    EXPECT_NEAR(ChosenFocalLength({FocalKind::Auto}, FullFrame(), 1800, 1200, 2).value(), 2500,
                1e-9);
    EXPECT_FALSE(ChosenFocalLength({FocalKind::Auto}, {}, 1800, 1200, 2));
}

TEST(ChosenFocalLength, MillimetresSeeTheSameAtEverySize) {
    EXPECT_NEAR(ChosenFocalLength({FocalKind::Millimetres, 26}, FullFrame(), 1800, 1200, 2).value(),
                1300, 1e-9);
}

TEST(ChosenFocalLength, PixelsAreTheFullSizePictures) {
    EXPECT_NEAR(ChosenFocalLength({FocalKind::Pixels, 3000}, FullFrame(), 3600, 2400, 1).value(),
                3000, 1e-9);
    EXPECT_NEAR(ChosenFocalLength({FocalKind::Pixels, 3000}, FullFrame(), 1800, 1200, 2).value(),
                1500, 1e-9);
}

}  // namespace
}  // namespace vistrel
