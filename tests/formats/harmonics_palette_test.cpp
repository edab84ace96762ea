// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/harmonics_palette.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

namespace vistrel {
namespace {

// Harmonics around a few examples, each `apart` from its example at most.
RawScene ScatteredScene(std::size_t count, int degree, std::size_t examples, float apart) {
    std::mt19937 random(7);
    const auto next = [&random] { return static_cast<float>(random() >> 8U) / 8388608.0F - 1.0F; };
    RawScene scene({count, degree, {}});
    const std::size_t rows = RawValues(degree) - kHarmonicsRow;
    std::vector<float> values(rows * examples);
    std::ranges::generate(values, next);
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t row = 0; row < rows; ++row) {
            scene.Row(kHarmonicsRow + row)[i] =
                values[((i * 7 % examples) * rows) + row] + (apart * next());
        }
    }
    return scene;
}

// The greatest difference between a Gaussian's harmonics and its entry's.
float GreatestError(const RawScene& scene, const HarmonicsPalette& palette) {
    const std::size_t rows = RawValues(scene.Degree()) - kHarmonicsRow;
    float greatest = 0.0F;
    for (std::size_t i = 0; i < scene.Count(); ++i) {
        for (std::size_t row = 0; row < rows; ++row) {
            const float entry = palette.entries.at((palette.labels[i] * rows) + row);
            greatest = std::max(greatest, std::abs(scene.Row(kHarmonicsRow + row)[i] - entry));
        }
    }
    return greatest;
}

HarmonicsPalette PaletteBy(const RawScene& scene, int threads) {
    Workers workers(threads);
    return MakeHarmonicsPalette(scene, workers);
}

TEST(HarmonicsPalette, ItsSizeIsAPowerOfTwoAndFitsLabels) {
    EXPECT_EQ(PaletteSizeFor(1), 1U);
    EXPECT_EQ(PaletteSizeFor(1023), 512U);
    EXPECT_EQ(PaletteSizeFor(50'000), 32768U);
    EXPECT_EQ(PaletteSizeFor(10'000'000), 65536U);
}

TEST(HarmonicsPalette, EqualHarmonicsShareAnEntry) {
    for (const int degree : {1, 2, 3}) {
        const RawScene scene = ScatteredScene(1000, degree, 5, 0.0F);
        const HarmonicsPalette palette = PaletteBy(scene, 1);
        EXPECT_EQ(palette.entries.size(), 5 * (RawValues(degree) - kHarmonicsRow));
        EXPECT_LT(GreatestError(scene, palette), 1.0F / 4095.0F);
    }
}

TEST(HarmonicsPalette, EntriesAreNearTheirGaussians) {
    const RawScene scene = ScatteredScene(4000, 3, 300, 0.01F);
    EXPECT_LT(GreatestError(scene, PaletteBy(scene, 1)), 0.02F);
}

TEST(HarmonicsPalette, TheNumberOfThreadsMakesNoDifference) {
    const RawScene scene = ScatteredScene(3000, 2, 3000, 0.5F);
    const HarmonicsPalette one = PaletteBy(scene, 1);
    const HarmonicsPalette three = PaletteBy(scene, 3);
    EXPECT_EQ(one.entries, three.entries);
    EXPECT_TRUE(
        std::equal(one.labels.data(), one.labels.data() + scene.Count(), three.labels.data()));
}

TEST(HarmonicsPalette, HarmonicsOfZeroAreOneEntry) {
    const RawScene scene({100, 1, {}});
    for (std::size_t row = kHarmonicsRow; row < RawValues(1); ++row) {
        std::fill_n(scene.Row(row), scene.Count(), 0.0F);
    }
    EXPECT_EQ(PaletteBy(scene, 1).entries, std::vector<float>(9, 0.0F));
}

}  // namespace
}  // namespace vistrel
