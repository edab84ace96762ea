// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/sog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "formats/webp_pictures.h"
#include "formats/zip_archive.h"
#include "tests/support/sog_parts.h"

namespace vistrel {
namespace {

// Gaussians anywhere, all different.
RawScene AnySogScene(std::size_t count, int degree) {
    std::mt19937 random(3);
    RawScene scene({count, degree, {}});
    for (std::size_t row = 0; row < RawValues(degree); ++row) {
        std::generate_n(scene.Row(row), count, [&random] {
            return static_cast<float>(random() >> 8U) / 8388608.0F - 1.0F;
        });
    }
    return scene;
}

std::string WrittenSog(const RawScene& scene, int threads = 1) {
    MemorySink sink;
    WriteSog(scene, {.threads = threads}, sink);
    return sink.content;
}

// Empty for files that are none.
RawScene ReadSogBytes(const std::string& bytes, int threads = 1) {
    const InputFile file(std::as_bytes(std::span(bytes)));
    RawSceneSink sink;
    static_cast<void>(ReadSog({.file = file, .ending = ".sog", .threads = threads}, sink));
    return std::move(sink.scene);
}

double Distance(const RawScene& one, std::size_t i, const RawScene& other, std::size_t j) {
    double squares = 0.0;
    for (std::size_t row = kPositionRow; row < kPositionRow + 3; ++row) {
        squares += std::pow(one.Row(row)[i] - other.Row(row)[j], 2);
    }
    return std::sqrt(squares);
}

// Where in `read`, which has an order of its own, the Gaussian at `place` of `scene` is.
std::size_t PlaceOf(const RawScene& scene, std::size_t place, const RawScene& read) {
    std::size_t nearest = 0;
    for (std::size_t i = 1; i < read.Count(); ++i) {
        if (Distance(scene, place, read, i) < Distance(scene, place, read, nearest)) nearest = i;
    }
    return nearest;
}

double Turn(const RawScene& one, std::size_t i, const RawScene& other, std::size_t j) {
    double product = 0.0;
    double first = 0.0;
    double second = 0.0;
    for (std::size_t row = kRotationRow; row < kRotationRow + 4; ++row) {
        product += double{one.Row(row)[i]} * other.Row(row)[j];
        first += std::pow(one.Row(row)[i], 2);
        second += std::pow(other.Row(row)[j], 2);
    }
    return 2.0 * std::acos(std::min(std::abs(product) / std::sqrt(first * second), 1.0));
}

TEST(Sog, WrittenScenesAreReadWithinTheFormatsSteps) {
    const RawScene scene = AnySogScene(600, 0);
    const RawScene read = ReadSogBytes(WrittenSog(scene));
    ASSERT_EQ(read.Count(), scene.Count());
    EXPECT_EQ(read.Degree(), 0);
    // Half of a 65,535th of the range of logarithms, where the position changes fastest with it;
    // 256 entries for values from -1 to 1, which crowd nowhere.
    constexpr double kPositionStep = 2.0 * 0.6932 / 65535.0 * 2.0;
    constexpr float kValueStep = 2.0F / 255.0F;
    for (std::size_t i = 0; i < scene.Count(); ++i) {
        const std::size_t place = PlaceOf(scene, i, read);
        EXPECT_LT(Distance(scene, i, read, place), kPositionStep);
        for (const std::size_t row :
             {kColorRow, kColorRow + 1, kColorRow + 2, kScaleRow, kScaleRow + 1, kScaleRow + 2}) {
            EXPECT_NEAR(scene.Row(row)[i], read.Row(row)[place], kValueStep);
        }
        const auto opacity = [](float logit) { return 1.0F / (1.0F + std::exp(-logit)); };
        EXPECT_NEAR(opacity(scene.Row(kOpacityRow)[i]), opacity(read.Row(kOpacityRow)[place]),
                    0.501F / 255.0F);
        EXPECT_LT(Turn(scene, i, read, place), 0.02);
    }
}

TEST(Sog, HarmonicsAreReadWithinThePalettesSteps) {
    RawScene scene = AnySogScene(64, 3);
    // Seven kinds, so that each has an entry of its own.
    for (std::size_t row = kHarmonicsRow; row < RawValues(3); ++row) {
        for (std::size_t i = 7; i < scene.Count(); ++i) scene.Row(row)[i] = scene.Row(row)[i - 7];
    }
    const RawScene read = ReadSogBytes(WrittenSog(scene));
    ASSERT_EQ(read.Degree(), 3);
    for (std::size_t i = 0; i < scene.Count(); ++i) {
        const std::size_t place = PlaceOf(scene, i, read);
        for (std::size_t row = kHarmonicsRow; row < RawValues(3); ++row) {
            EXPECT_NEAR(scene.Row(row)[i], read.Row(row)[place], 2.0F / 255.0F);
        }
    }
}

TEST(Sog, LowerHarmonicsAreWrittenAsDegreeThree) {
    const RawScene scene = AnySogScene(1, 1);
    const RawScene read = ReadSogBytes(WrittenSog(scene));
    ASSERT_EQ(read.Degree(), 3);
    for (std::size_t channel = 0; channel < 3; ++channel) {
        for (std::size_t i = 0; i < 15; ++i) {
            const float expected = i < 3 ? scene.Row(kHarmonicsRow + (channel * 3) + i)[0] : 0.0F;
            EXPECT_NEAR(read.Row(kHarmonicsRow + (channel * 15) + i)[0], expected, 0.0002F);
        }
    }
}

TEST(Sog, TheNumberOfThreadsMakesNoDifference) {
    const RawScene scene = AnySogScene(3000, 1);
    const std::string file = WrittenSog(scene, 1);
    EXPECT_EQ(file, WrittenSog(scene, 3));
    const RawScene read = ReadSogBytes(file, 3);
    EXPECT_EQ(read.Row(0)[2999], ReadSogBytes(file).Row(0)[2999]);
}

TEST(Sog, InfiniteOpacitiesStayAndFlatScalesAreNearlyFlat) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    RawScene scene = AnySogScene(2, 0);
    scene.Row(0)[0] = -2.0F;
    scene.Row(0)[1] = 2.0F;
    scene.Row(kOpacityRow)[0] = -infinity;
    scene.Row(kOpacityRow)[1] = infinity;
    scene.Row(kScaleRow)[0] = -infinity;
    const RawScene read = ReadSogBytes(WrittenSog(scene));
    const std::size_t first = PlaceOf(scene, 0, read);
    EXPECT_EQ(read.Row(kOpacityRow)[first], -infinity);
    EXPECT_EQ(read.Row(kOpacityRow)[1 - first], infinity);
    EXPECT_EQ(read.Row(kScaleRow)[first], -30.0F);
}

TEST(Sog, ARotationOfLengthZeroIsNoTurn) {
    const RawScene scene = AnySogScene(1, 0);
    for (std::size_t i = 0; i < 4; ++i) scene.Row(kRotationRow + i)[0] = 0.0F;
    const RawScene read = ReadSogBytes(WrittenSog(scene));
    EXPECT_NEAR(read.Row(kRotationRow)[0], 1.0F, 0.0001F);
}

TEST(Sog, GreatestFloatsAreWrittenAndRead) {
    constexpr float kMost = std::numeric_limits<float>::max();
    const RawScene scene = AnySogScene(2, 3);
    for (std::size_t row = 0; row < RawValues(3); ++row) {
        scene.Row(row)[0] = kMost;
        scene.Row(row)[1] = -kMost;
    }
    const RawScene read = ReadSogBytes(WrittenSog(scene));
    for (std::size_t row = 0; row < 3; ++row) {
        EXPECT_TRUE(std::isfinite(read.Row(row)[0]) && std::isfinite(read.Row(row)[1]));
    }
}

// The layout that the header documents, by a scene of one Gaussian.
TEST(Sog, WrittenPicturesHaveTheirLayout) {
    const RawScene scene({1, 0, {}});
    const std::array<float, kRawValues> values = {1.0F,  -2.0F, 3.0F,  0.5F, -0.5F, 1.5F, 0.0F,
                                                  -1.0F, -2.0F, -3.0F, 0.5F, -0.5F, 0.5F, -0.6F};
    for (std::size_t row = 0; row < kRawValues; ++row) scene.Row(row)[0] = values[row];
    const std::string file = WrittenSog(scene);
    const InputFile input(std::as_bytes(std::span(file)));
    const ZipArchive zip(input);
    const auto pixel = [&zip](std::string_view name) {
        const NumberPicture picture = DecodedWebp(zip.Content(*zip.Find(name), 10'000));
        EXPECT_EQ(picture.size.width, 4U);
        EXPECT_EQ(picture.size.height, 4U);
        return std::vector<int>(picture.Pixel(0), picture.Pixel(1));
    };
    EXPECT_EQ(pixel("means_l.webp"), (std::vector{0, 0, 0, 255}));
    EXPECT_EQ(pixel("means_u.webp"), (std::vector{0, 0, 0, 255}));
    EXPECT_EQ(pixel("scales.webp"), (std::vector{2, 1, 0, 255}));
    EXPECT_EQ(pixel("sh0.webp"), (std::vector{1, 0, 2, 128}));
    // Its last component is the largest one and becomes positive; 255 * (0.5 - 0.5 / 1.0536
    // / 1.4142)
    EXPECT_EQ(pixel("quats.webp"), (std::vector{42, 213, 42, 255}));
}

TEST(Sog, Version2IsRead) {
    const RawScene read = ReadSogBytes(SogVersion2().Archive());
    ASSERT_EQ(read.Count(), 2U);
    ASSERT_EQ(read.Degree(), 1);
    // Stored as -1 + 2 * (3 + 256 * 1) / 65535 and so on, see SogVersion2.
    const double x = -1.0 + (2.0 * 259.0 / 65535.0);
    EXPECT_FLOAT_EQ(read.Row(kPositionRow)[0], static_cast<float>(-(std::exp(-x) - 1.0)));
    EXPECT_FLOAT_EQ(read.Row(kPositionRow + 1)[0], static_cast<float>(std::exp(2.0) - 1.0));
    EXPECT_FLOAT_EQ(read.Row(kPositionRow + 2)[0], 0.0F);
    EXPECT_FLOAT_EQ(read.Row(kScaleRow)[0], -10.0F + 5 * 0.03125F);
    EXPECT_FLOAT_EQ(read.Row(kScaleRow + 2)[0], -10.0F + 255 * 0.03125F);
    EXPECT_FLOAT_EQ(read.Row(kColorRow)[0], -2.0F + 128 * 0.015625F);
    EXPECT_FLOAT_EQ(read.Row(kOpacityRow)[0], std::log(200.0F / 55.0F));
    // The second component is left out: x is the largest one.
    EXPECT_FLOAT_EQ(read.Row(kRotationRow)[0], (100.0F / 255.0F - 0.5F) * std::sqrt(2.0F));
    EXPECT_GT(read.Row(kRotationRow + 1)[0], 0.0F);
    EXPECT_FLOAT_EQ(read.Row(kRotationRow + 2)[0], (110.0F / 255.0F - 0.5F) * std::sqrt(2.0F));
    EXPECT_FLOAT_EQ(read.Row(kRotationRow + 3)[0], (150.0F / 255.0F - 0.5F) * std::sqrt(2.0F));
    // Entry 65 of the palette: its second row, second place. Green's third coefficient.
    EXPECT_FLOAT_EQ(read.Row(kHarmonicsRow + 3 + 2)[0], -1.0F + 78 * 0.0078125F);
    // The second Gaussian's label names no entry, and its rotation no component.
    EXPECT_EQ(read.Row(kHarmonicsRow)[1], 0.0F);
    EXPECT_EQ(read.Row(kRotationRow)[1], 1.0F);
    EXPECT_EQ(read.Row(kRotationRow + 3)[1], 0.0F);
}

TEST(Sog, Version1IsRead) {
    const RawScene read = ReadSogBytes(SogVersion1().Archive());
    ASSERT_EQ(read.Count(), 2U);
    ASSERT_EQ(read.Degree(), 1);
    EXPECT_FLOAT_EQ(read.Row(kPositionRow + 1)[0], static_cast<float>(std::exp(2.0) - 1.0));
    EXPECT_FLOAT_EQ(read.Row(kScaleRow)[0], -6.0F + (4.0F * 5.0F / 255.0F));
    EXPECT_FLOAT_EQ(read.Row(kScaleRow + 1)[0], -7.0F + (4.0F * 6.0F / 255.0F));
    EXPECT_FLOAT_EQ(read.Row(kColorRow + 2)[0], -1.0F + (4.0F * 130.0F / 255.0F));
    EXPECT_FLOAT_EQ(read.Row(kOpacityRow)[0], -8.0F + (16.0F * 200.0F / 255.0F));
    EXPECT_FLOAT_EQ(read.Row(kHarmonicsRow + 3 + 2)[0], -1.0F + (2.0F * 78.0F / 255.0F));
    EXPECT_FLOAT_EQ(read.Row(kRotationRow)[0], (100.0F / 255.0F - 0.5F) * std::sqrt(2.0F));
}

TEST(Sog, ACodebookMayBeginWithNull) {
    SogParts parts = SogVersion2();
    parts.Replace("\"scales\":{\"codebook\":[-10.0,", "\"scales\":{\"codebook\":[null,");
    parts.Paint("scales.webp", 0, {0, 1, 2, 255});
    EXPECT_FLOAT_EQ(ReadSogBytes(parts.Archive()).Row(kScaleRow)[0],
                    -10.0F + 0.03125F - (254.0F * 0.03125F / 255.0F));
}

TEST(Sog, TheFilesMayLieInAFolderOfTheArchive) {
    SogParts parts = SogVersion2();
    parts.folder = "scene/";
    EXPECT_EQ(ReadSogBytes(parts.Archive()).Count(), 2U);
}

TEST(Sog, OtherFilesAreLeftToOthers) {
    SogParts parts = SogVersion2();
    parts.metaName = "other.json";
    EXPECT_EQ(ReadSogBytes(parts.Archive()).Count(), 0U);
    EXPECT_EQ(ReadSogBytes("ply\n").Count(), 0U);
    EXPECT_EQ(ReadSogBytes("").Count(), 0U);
}

TEST(Sog, CutFilesAreRefused) {
    const std::string file = WrittenSog(AnySogScene(10, 0));
    for (std::size_t size = 40; size < file.size(); size += 97) {
        EXPECT_THROW(ReadSogBytes(file.substr(0, size)), std::runtime_error);
    }
}

struct WrongMeta {
    const char* name;
    const char* right;
    const char* wrong;
    const char* sentence;
};

class WrongSog : public testing::TestWithParam<WrongMeta> {};

TEST_P(WrongSog, IsRefusedInASentence) {
    SogParts parts = SogVersion2();
    parts.Replace(GetParam().right, GetParam().wrong);
    try {
        ReadSogBytes(parts.Archive());
        FAIL() << "it was read";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), GetParam().sentence);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, WrongSog,
    testing::Values(
        WrongMeta{"NoJson", "{\"asset\"", "{asset", "its meta.json is damaged"},
        WrongMeta{"NewVersion", "\"version\":2", "\"version\":3",
                  "its meta.json is of a version that is not read"},
        WrongMeta{"TextAsCount", "\"count\":2,\"means\"", "\"count\":\"2\",\"means\"",
                  "its meta.json does not tell the number of Gaussians"},
        WrongMeta{"NoGaussians", "\"count\":2,\"means\"", "\"count\":0,\"means\"",
                  "its meta.json claims no Gaussians"},
        WrongMeta{"FarTooMany", "\"count\":2,\"means\"", "\"count\":99999999999,\"means\"",
                  "its meta.json claims too many Gaussians"},
        WrongMeta{"MoreThanTheFileCanHold", "\"count\":2,\"means\"",
                  "\"count\":500000000,\"means\"",
                  "it claims more than a file of its size can hold"},
        WrongMeta{"MoreThanThePictures", "\"count\":2,\"means\"", "\"count\":17,\"means\"",
                  "one of its pictures is too small for its 17 Gaussians"},
        WrongMeta{"ShortCodebook", "\"codebook\":[-10.0,", "\"codebook\":[",
                  "its meta.json has a list of the wrong length"},
        WrongMeta{"TextInCodebook", "\"codebook\":[-10.0,", "\"codebook\":[\"-10\",",
                  "its meta.json has something else in the place of a number"},
        WrongMeta{"NoMeans", "\"means\"", "\"beans\"", "its meta.json has no \"means\""},
        WrongMeta{"NamesAreNumbers", "\"means_l.webp\"", "7",
                  "its meta.json does not name all pictures"},
        WrongMeta{"OnePictureTooFew", "\"quats.webp\"", "\"rats.webp\"",
                  "one of its pictures is missing"},
        WrongMeta{"NoPicture", "\"quats.webp\"", "\"meta.json\"",
                  "one of its WebP pictures is damaged"},
        WrongMeta{"DegreeFour", "\"bands\":1", "\"bands\":4",
                  "it has harmonics of degree 4, more than 3"},
        WrongMeta{"AnotherDegree", "\"bands\":1", "\"bands\":2",
                  "its palette of harmonics has the wrong width"},
        WrongMeta{"LongPalette", "\"count\":66", "\"count\":129",
                  "its palette of harmonics is cut short"},
        WrongMeta{"PaletteBeyondLabels", "\"count\":66", "\"count\":65537",
                  "its meta.json claims too many colours in its palette"}),
    [](const auto& test) { return test.param.name; });

TEST(Sog, APictureMuchLargerThanTheSceneIsRefused) {
    SogParts parts = SogVersion2();
    parts.pictures["quats.webp"] = NumberPicture({.width = 4, .height = 6});
    EXPECT_THROW(ReadSogBytes(parts.Archive()), std::runtime_error);
}

}  // namespace
}  // namespace vistrel
