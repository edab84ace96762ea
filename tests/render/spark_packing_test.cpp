// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/spark_packing.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace vistrel {
namespace {

constexpr std::uint32_t kHalfOne = 0x3C00;
constexpr std::uint32_t kHalfMinusTwo = 0xC000;
constexpr std::uint32_t kHalfOfThree = 0x4200;
constexpr std::uint32_t kHalfInfinity = 0x7C00;
constexpr std::uint32_t kHalfNan = 0xFE00;
constexpr std::uint32_t kUpright = 0x8080;  // an axis along z, nearly

std::uint32_t Bytes(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
    return a | b << 8U | c << 16U | d << 24U;
}

// A Gaussian at (1, -2, 3), of one size in all directions, not turned.
std::array<std::uint32_t, kSparkWords> Plain() {
    return {Bytes(255, 0, 51, 255), kHalfOne | kHalfMinusTwo << 16U, kHalfOfThree | kUpright << 16U,
            Bytes(100, 100, 100, 0)};
}

class SparkPacking : public testing::Test {
  protected:
    void Unpack(int degree = 0) {
        scene_ = GaussianScene(1, degree);
        SparkWords words;
        words.gaussians = words_.data();
        words.harmonics = {first_.data(), second_.data(), third_.data()};
        SparkUnpacker(encoding_).Unpack(words, std::array<std::uint16_t, 1>{0}, scene_.Planes(), 0);
    }
    float At(Plane plane) const { return scene_.Planes().Of(plane)[0]; }
    int Low(Plane plane) const {
        return static_cast<int>(std::bit_cast<std::uint32_t>(At(plane)) & 0xFFFFU);
    }
    int High(Plane plane) const {
        return static_cast<int>(std::bit_cast<std::uint32_t>(At(plane)) >> 16U);
    }
    // Of the unit quaternion.
    float Part(int units) const {
        return static_cast<float>(static_cast<std::int16_t>(units)) / 32767.0F;
    }
    void ExpectRotation(float w, float x, float y, float z) const {
        constexpr float kRounding = 1e-4F;
        EXPECT_NEAR(Part(Low(Plane::RotationWX)), w, kRounding);
        EXPECT_NEAR(Part(High(Plane::RotationWX)), x, kRounding);
        EXPECT_NEAR(Part(Low(Plane::RotationYZ)), y, kRounding);
        EXPECT_NEAR(Part(High(Plane::RotationYZ)), z, kRounding);
    }
    std::uint16_t Harmonic(std::size_t function, std::size_t channel) const {
        return scene_.Planes().Harmonic(function, channel)[0];
    }

    SparkEncoding encoding_;
    std::array<std::uint32_t, kSparkWords> words_ = Plain();
    std::array<std::uint32_t, 2> first_{};
    std::array<std::uint32_t, 4> second_{};
    std::array<std::uint32_t, 4> third_{};
    GaussianScene scene_;
};

TEST_F(SparkPacking, CentreIsThatOfTheHalves) {
    Unpack();
    EXPECT_EQ(At(Plane::X), 1.0F);
    EXPECT_EQ(At(Plane::Y), -2.0F);
    EXPECT_EQ(At(Plane::Z), 3.0F);
}

TEST_F(SparkPacking, HalvesTooSmallToBeNormalAreKept) {
    words_[1] = 0x0001U | 0x83FFU << 16U;
    Unpack();
    EXPECT_EQ(At(Plane::X), 0x1p-24F);
    EXPECT_EQ(At(Plane::Y), -1023.0F * 0x1p-24F);
}

TEST_F(SparkPacking, LargestHalfIsFinite) {
    words_[1] = 0x7BFFU;
    Unpack();
    EXPECT_EQ(At(Plane::X), 65504.0F);
    EXPECT_GT(High(Plane::BlueOpacity), 0);
}

TEST_F(SparkPacking, CentreThatIsNotFiniteIsNotDrawn) {
    for (const std::uint32_t half : {kHalfInfinity, kHalfNan}) {
        for (const std::size_t word : {1U, 2U}) {
            words_ = Plain();
            words_[word] = (words_[word] & 0xFFFF0000U) | half;
            Unpack();
            EXPECT_EQ(High(Plane::BlueOpacity), 0);
        }
    }
}

TEST_F(SparkPacking, ColourIsInUnitsOfThePlanes) {
    Unpack();
    EXPECT_NEAR(static_cast<float>(Low(Plane::RedGreen)) * kColorUnit, 1.0F, kColorUnit);
    EXPECT_EQ(High(Plane::RedGreen), 0);
    EXPECT_NEAR(static_cast<float>(Low(Plane::BlueOpacity)) * kColorUnit, 0.2F, kColorUnit);
}

TEST_F(SparkPacking, ColourOfAnotherRangeIsStretched) {
    encoding_.color = {-0.5F, 2.0F};
    Unpack();
    EXPECT_NEAR(static_cast<float>(Low(Plane::RedGreen)) * kColorUnit, 2.0F, kColorUnit);
    EXPECT_EQ(High(Plane::RedGreen), 0) << "what is below zero is black";
    EXPECT_NEAR(static_cast<float>(Low(Plane::BlueOpacity)) * kColorUnit, 0.0F, kColorUnit);
}

TEST_F(SparkPacking, OpacityIsItsLogarithm) {
    words_[0] = Bytes(0, 0, 0, 255);
    Unpack();
    EXPECT_EQ(High(Plane::BlueOpacity), 65535);
    words_[0] = Bytes(0, 0, 0, 1);
    Unpack();
    const float log = static_cast<float>(High(Plane::BlueOpacity)) * kOpacityUnit + kFaintestLog;
    EXPECT_NEAR(log, std::log2(1.0F / 255.0F), kOpacityUnit);
}

TEST_F(SparkPacking, OpacityOfZeroIsNotDrawn) {
    words_[0] = Bytes(255, 255, 255, 0);
    Unpack();
    EXPECT_EQ(High(Plane::BlueOpacity), 0);
}

TEST_F(SparkPacking, ScalesCoverTheRange) {
    words_[3] = Bytes(1, 255, 128, 0);
    Unpack();
    EXPECT_NEAR(At(Plane::ScaleX) / std::exp(-12.0F), 1.0F, 1e-5F);
    EXPECT_NEAR(At(Plane::ScaleY) / std::exp(9.0F), 1.0F, 1e-5F);
    EXPECT_NEAR(At(Plane::ScaleZ) / std::exp(-1.5F), 1.0F, 1e-5F);
}

TEST_F(SparkPacking, ScaleOfNothingIsFlat) {
    words_[3] = Bytes(0, 100, 100, 0);
    Unpack();
    EXPECT_EQ(At(Plane::ScaleX), 0.0F);
    EXPECT_GT(High(Plane::BlueOpacity), 0);
}

TEST_F(SparkPacking, GaussianWithoutAnySizeIsNotDrawn) {
    words_[3] = Bytes(0, 0, 0, 100);
    Unpack();
    EXPECT_EQ(High(Plane::BlueOpacity), 0);
}

TEST_F(SparkPacking, AngleOfZeroTurnsNothing) {
    Unpack();
    ExpectRotation(1, 0, 0, 0);
}

TEST_F(SparkPacking, HalfATurnAboutX) {
    // Half of a unit beside the octahedron's corner, so a little is folded over it.
    words_[2] = kHalfOfThree | 255U << 16U | 128U << 24U;
    words_[3] = Bytes(100, 100, 100, 255);
    Unpack();
    constexpr float kBeside = 1.0F / 255.0F;
    const float length = std::hypot(1.0F - kBeside, kBeside);
    ExpectRotation(0, (1.0F - kBeside) / length, 0, -kBeside / length);
}

TEST_F(SparkPacking, AxisOfTheLowerHalfIsFoldedUp) {
    words_[2] = kHalfOfThree;  // the square's corner
    words_[3] = Bytes(100, 100, 100, 255);
    Unpack();
    ExpectRotation(0, 0, 0, -1);
}

TEST_F(SparkPacking, AngleIsThatOfTheTurn) {
    words_[2] = kHalfOfThree;
    words_[3] = Bytes(100, 100, 100, 85);  // a third of pi
    Unpack();
    ExpectRotation(std::sqrt(0.75F), 0, 0, -0.5F);
}

TEST_F(SparkPacking, GaussiansGoWhereTheOrderSays) {
    std::array<std::uint32_t, 2 * kSparkWords> words{};
    words[1] = kHalfOne;
    words[kSparkWords + 1] = kHalfMinusTwo;
    scene_ = GaussianScene(34, 0);
    SparkUnpacker(encoding_).Unpack({words.data(), {}}, std::array<std::uint16_t, 2>{1, 0},
                                    scene_.Planes(), 32);
    EXPECT_EQ(scene_.Planes().Of(Plane::X)[32], -2.0F);
    EXPECT_EQ(scene_.Planes().Of(Plane::X)[33], 1.0F);
}

constexpr std::uint16_t kHalfBitsOne = 0x3C00;
constexpr std::uint16_t kHalfBitsMinusOne = 0xBC00;

TEST_F(SparkPacking, FirstFunctionIsTheColour) {
    Unpack(1);
    EXPECT_EQ(Harmonic(0, 0), kHalfBitsOne);
    EXPECT_EQ(Harmonic(0, 1), 0);
}

TEST_F(SparkPacking, HarmonicsOfDegreeOneHaveSevenBits) {
    first_[0] = 63U | 65U << 7U;         // red and green of the first function: 63 and -63
    first_[0] |= (63U & 0xFU) << 28U;    // green of the second, across both words
    first_[1] = 63U >> 4U | 65U << 24U;  // blue of the third: -63
    Unpack(1);
    EXPECT_EQ(Harmonic(1, 0), kHalfBitsOne);
    EXPECT_EQ(Harmonic(1, 1), kHalfBitsMinusOne);
    EXPECT_EQ(Harmonic(1, 2), 0);
    EXPECT_EQ(Harmonic(2, 1), kHalfBitsOne);
    EXPECT_EQ(Harmonic(3, 2), kHalfBitsMinusOne);
}

TEST_F(SparkPacking, HarmonicsOfDegreeTwoHaveEightBits) {
    second_[0] = 127U;
    second_[3] = 129U << 16U;  // blue of the last function: -127
    Unpack(2);
    EXPECT_EQ(Harmonic(4, 0), kHalfBitsOne);
    EXPECT_EQ(Harmonic(8, 2), kHalfBitsMinusOne);
    EXPECT_EQ(Harmonic(8, 1), 0);
}

TEST_F(SparkPacking, HarmonicsOfDegreeThreeHaveSixBits) {
    third_[0] = (31U & 3U) << 30U;  // blue of the second function, across two words
    third_[1] = 31U >> 2U;
    third_[3] = 33U << 24U;  // blue of the last function: -31
    Unpack(3);
    EXPECT_EQ(Harmonic(10, 2), kHalfBitsOne);
    EXPECT_EQ(Harmonic(15, 2), kHalfBitsMinusOne);
    EXPECT_EQ(Harmonic(15, 1), 0);
}

TEST_F(SparkPacking, HarmonicsOfAnotherRangeAreStretched) {
    encoding_.harmonics[0] = {-2.0F, 2.0F};
    first_[0] = 63U;
    Unpack(1);
    EXPECT_EQ(Harmonic(1, 0), 0x4000);  // 2
}

}  // namespace
}  // namespace vistrel
