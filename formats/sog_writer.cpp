// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <numbers>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/workers.h"
#include "formats/codebook.h"
#include "formats/harmonics_palette.h"
#include "formats/morton_order.h"
#include "formats/scene_values.h"
#include "formats/sog.h"
#include "formats/sog_meta.h"
#include "formats/webp_pictures.h"
#include "formats/zip_archive.h"

namespace vistrel {
namespace {

// Below that a Gaussian is flat in any scene.
constexpr float kFlattest = -30.0F;

// Of every colour in a palette, see formats/sog.h.
constexpr std::size_t kWrittenCoefficients = HarmonicsCount(kMostHarmonicsDegree) - 1;

// What other programs expect of the sides of a picture.
constexpr std::size_t kSideStep = 4;

PictureSize SizeFor(std::size_t count) {
    const auto stepsUp = [](double pixels) {
        return static_cast<std::size_t>(std::ceil(pixels / kSideStep)) * kSideStep;
    };
    const std::size_t width = stepsUp(std::sqrt(static_cast<double>(count)));
    const std::size_t height =
        stepsUp(std::ceil(static_cast<double>(count) / static_cast<double>(width)));
    if (std::max(width, height) > kLongestWebpSide) {
        throw std::runtime_error("the format cannot hold so many Gaussians");
    }
    return {static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)};
}

double StoredPosition(double position) {
    return std::copysign(std::log1p(std::abs(position)), position);
}

// A coordinate of all Gaussians as the format has it.
struct Coordinates {
    double least = 0.0;
    double greatest = 0.0;
    AlignedArray<std::uint16_t> values;
};

Coordinates CoordinatesOf(std::span<const float> positions) {
    const auto [least, greatest] = std::ranges::minmax(positions);
    Coordinates coordinates = {.least = StoredPosition(least),
                               .greatest = StoredPosition(greatest),
                               .values = AlignedArray<std::uint16_t>(positions.size())};
    const double range = coordinates.greatest - coordinates.least;
    const double scale = range > 0.0 ? 1.0 / range : 0.0;
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const double share = (StoredPosition(positions[i]) - coordinates.least) * scale;
        coordinates.values[i] = static_cast<std::uint16_t>(Quantised(share, 16));
    }
    return coordinates;
}

std::uint8_t ByteOfShare(double share) {
    return static_cast<std::uint8_t>(Quantised(share, 8));
}

void PutRotation(const std::array<double, 4>& rotation, std::uint8_t* pixel) {
    const auto largest = static_cast<std::size_t>(
        std::ranges::max_element(rotation, {}, [](double value) { return std::abs(value); }) -
        rotation.begin());
    const double scale = std::copysign(std::numbers::sqrt2 / 2.0, rotation[largest]);
    std::uint8_t* next = pixel;
    for (std::size_t i = 0; i < rotation.size(); ++i) {
        if (i != largest) *next++ = ByteOfShare((rotation[i] * scale) + 0.5);
    }
    constexpr std::size_t kFirstTag = 252;
    *next = static_cast<std::uint8_t>(kFirstTag + largest);
}

// The palette, and what its bytes stand for.
struct PackedHarmonics {
    HarmonicsPalette palette;
    std::size_t coefficients = 0;  // of each colour
    std::size_t entries = 0;
    Codebook values;
};

PackedHarmonics PackHarmonics(const RawScene& scene, Workers& workers) {
    HarmonicsPalette palette = MakeHarmonicsPalette(scene, workers);
    constexpr std::array kNone = {0.0F};
    Codebook values({palette.entries, kNone});
    values.KeepZero();
    const std::size_t coefficients = HarmonicsCount(scene.Degree()) - 1;
    const std::size_t entries = palette.entries.size() / (3 * coefficients);
    return {std::move(palette), coefficients, entries, std::move(values)};
}

// A scene on its way into pictures.
struct PackedScene {
    const RawScene& scene;
    PictureSize size;
    std::array<Coordinates, 3> positions = {};
    std::vector<std::uint32_t> order = {};  // Gaussian of each pixel
    std::optional<Codebook> scales = {};
    std::optional<Codebook> colors = {};
    std::optional<PackedHarmonics> harmonics = {};

    [[nodiscard]] std::span<const float> Row(std::size_t row) const {
        return {scene.Row(row), scene.Count()};
    }
    [[nodiscard]] std::vector<std::span<const float>> ThreeRows(std::size_t first) const {
        return {Row(first), Row(first + 1), Row(first + 2)};
    }
};

// `fill` writes a Gaussian's values into its pixel.
NumberPicture FilledPicture(const PackedScene& packed, const auto& fill) {
    NumberPicture picture(packed.size);
    std::fill_n(picture.pixels.data(), picture.pixels.size(), std::uint8_t{0});
    for (std::size_t i = 0; i < packed.order.size(); ++i) {
        fill(packed.order[i], picture.Pixel(i));
    }
    return picture;
}

constexpr std::uint8_t kOpaque = 255;

NumberPicture PositionPicture(const PackedScene& packed, unsigned shift) {
    return FilledPicture(packed, [&](std::size_t gaussian, std::uint8_t* pixel) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            pixel[axis] =
                static_cast<std::uint8_t>(packed.positions[axis].values[gaussian] >> shift);
        }
        pixel[3] = kOpaque;
    });
}

NumberPicture ScalePicture(const PackedScene& packed) {
    return FilledPicture(packed, [&](std::size_t gaussian, std::uint8_t* pixel) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            pixel[axis] = packed.scales->Nearest(packed.scene.Row(kScaleRow + axis)[gaussian]);
        }
        pixel[3] = kOpaque;
    });
}

NumberPicture RotationPicture(const PackedScene& packed) {
    return FilledPicture(packed, [&](std::size_t gaussian, std::uint8_t* pixel) {
        PutRotation(UnitRotation(packed.scene, gaussian), pixel);
    });
}

NumberPicture ColorPicture(const PackedScene& packed) {
    return FilledPicture(packed, [&](std::size_t gaussian, std::uint8_t* pixel) {
        for (std::size_t i = 0; i < 3; ++i) {
            pixel[i] = packed.colors->Nearest(packed.scene.Row(kColorRow + i)[gaussian]);
        }
        pixel[3] = ByteOfShare(OpacityOfLogit(packed.scene.Row(kOpacityRow)[gaussian]));
    });
}

NumberPicture LabelPicture(const PackedScene& packed) {
    return FilledPicture(packed, [&](std::size_t gaussian, std::uint8_t* pixel) {
        const std::uint16_t label = packed.harmonics->palette.labels[gaussian];
        pixel[0] = static_cast<std::uint8_t>(label & 0xffU);
        pixel[1] = static_cast<std::uint8_t>(label >> 8U);
        pixel[3] = kOpaque;
    });
}

// Coefficients above the scene's degree are 0.
NumberPicture PalettePicture(const PackedHarmonics& harmonics) {
    constexpr std::size_t kRowEntries = 64;
    const std::size_t rows = (harmonics.entries + kRowEntries - 1) / kRowEntries;
    NumberPicture picture({.width = static_cast<std::uint32_t>(kRowEntries * kWrittenCoefficients),
                           .height = static_cast<std::uint32_t>(rows)});
    const std::uint8_t zero = harmonics.values.Nearest(0.0F);
    const float* entry = harmonics.palette.entries.data();
    for (std::size_t i = 0; i < picture.size.Pixels(); ++i) {
        const std::size_t coefficient = i % kWrittenCoefficients;
        std::uint8_t* const pixel = picture.Pixel(i);
        std::fill_n(pixel, 3, zero);
        pixel[3] = kOpaque;
        if (i / kWrittenCoefficients >= harmonics.entries) continue;
        if (coefficient < harmonics.coefficients) {
            for (std::size_t channel = 0; channel < 3; ++channel) {
                pixel[channel] = harmonics.values.Nearest(
                    entry[(channel * harmonics.coefficients) + coefficient]);
            }
        }
        if (coefficient + 1 == kWrittenCoefficients) entry += 3 * harmonics.coefficients;
    }
    return picture;
}

// A picture that is yet to be made.
struct PlannedPicture {
    std::string_view name;
    int effort = 0;  // see WebpFile
    std::function<NumberPicture()> make;
};

// More effort makes the low bytes, half of the file, an eighth smaller. The others gain less.
constexpr int kUsualEffort = 25;
constexpr int kLowPositionsEffort = 50;

// Those that take longest first.
std::vector<PlannedPicture> PlanPictures(const PackedScene& packed) {
    std::vector<PlannedPicture> plan = {
        {kLowPositionsName, kLowPositionsEffort, [&] { return PositionPicture(packed, 0); }},
        {kColorsName, kUsualEffort, [&] { return ColorPicture(packed); }},
        {kRotationsName, kUsualEffort, [&] { return RotationPicture(packed); }},
        {kScalesName, kUsualEffort, [&] { return ScalePicture(packed); }},
        {kHighPositionsName, kUsualEffort, [&] { return PositionPicture(packed, 8); }},
    };
    if (packed.harmonics) {
        plan.push_back({kLabelsName, kUsualEffort, [&] { return LabelPicture(packed); }});
        plan.push_back(
            {kPaletteName, kUsualEffort, [&] { return PalettePicture(*packed.harmonics); }});
    }
    return plan;
}

PackedScene Packed(const RawScene& scene, Workers& workers) {
    PackedScene packed = {.scene = scene, .size = SizeFor(scene.Count())};
    const std::array<std::function<void()>, 6> steps = {
        [&] { packed.order = MortonOrder(scene); },
        [&] { packed.scales.emplace(packed.ThreeRows(kScaleRow), kFlattest); },
        [&] { packed.colors.emplace(packed.ThreeRows(kColorRow)); },
        [&] { packed.positions[0] = CoordinatesOf(packed.Row(kPositionRow)); },
        [&] { packed.positions[1] = CoordinatesOf(packed.Row(kPositionRow + 1)); },
        [&] { packed.positions[2] = CoordinatesOf(packed.Row(kPositionRow + 2)); },
    };
    workers.Run(steps.size(), [&](std::size_t piece, int) { steps[piece](); });
    if (scene.Degree() > 0) packed.harmonics = PackHarmonics(scene, workers);
    return packed;
}

SogFacts FactsOf(const PackedScene& packed) {
    SogFacts facts = {.count = packed.scene.Count(),
                      .scales = packed.scales->Entries(),
                      .colors = packed.colors->Entries()};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        facts.positionMins[axis] = packed.positions[axis].least;
        facts.positionMaxs[axis] = packed.positions[axis].greatest;
    }
    if (packed.harmonics) {
        facts.paletteSize = packed.harmonics->entries;
        facts.degree = kMostHarmonicsDegree;
        facts.harmonics = packed.harmonics->values.Entries();
    }
    return facts;
}

}  // namespace

void WriteSog(const RawScene& scene, const SceneWriteOptions& options, ByteSink& sink) {
    Workers workers(options.threads);
    const PackedScene packed = Packed(scene, workers);
    const std::vector<PlannedPicture> plan = PlanPictures(packed);
    std::vector<std::optional<WebpFile>> files(plan.size());
    workers.Run(plan.size(), [&](std::size_t piece, int) {
        files[piece].emplace(plan[piece].make(), plan[piece].effort);
    });
    ZipWriter zip(sink);
    const std::string meta = SogMetaText(FactsOf(packed));
    zip.Add(kSogMetaName, std::as_bytes(std::span(meta)));
    for (std::size_t i = 0; i < plan.size(); ++i) zip.Add(plan[i].name, files[i]->Bytes());
    zip.Finish();
}

}  // namespace vistrel
