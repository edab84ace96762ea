// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/matrix_conversion.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <memory>

#include "photos/srgb_encoding.h"

namespace vistrel {
namespace {

// A light is a multiple of 1 / kMostSteps, or of something coarser where it reaches so far beyond
// sRGB's that the sum of three would not fit into 16 bits.
constexpr double kMostSteps = 16384;
constexpr double kLeastSteps = 4096;
constexpr double kMostSum = 65000;

constexpr int kLaneBits = 16;
constexpr std::uint64_t kLane = 0xFFFF;

struct Tables {
    // By channel of the file: what a sample adds to the three sums, each in its 16 bits and from
    // 0 on, so that nothing is carried from one into the next.
    std::array<std::vector<std::uint64_t>, 3> lights;
    std::array<std::vector<std::uint8_t>, 3> samples;  // of sRGB's channels, by the sum
};

float LightOf(const MatrixColours& colours, int to, int from, std::size_t sample) {
    return colours.matrix[to][from] * colours.curves[from][sample];
}

struct Range {
    float least = 0;
    float most = 0;
};

Range RangeOf(const MatrixColours& colours, int to, int from) {
    Range range;
    for (std::size_t i = 0; i < colours.curves[from].size(); ++i) {
        const float light = LightOf(colours, to, from, i);
        range.least = std::min(range.least, light);
        range.most = std::max(range.most, light);
    }
    return range;
}

bool AreNumbers(const MatrixColours& colours) {
    const auto finite = [](float number) { return std::isfinite(number); };
    return std::all_of(&colours.matrix[0][0], &colours.matrix[0][0] + 9, finite) &&
           std::ranges::all_of(colours.curves, [&](const std::vector<float>& curve) {
               return std::ranges::all_of(curve, finite);
           });
}

// How many steps a light of 1 has so that every sum fits.
double StepsFor(const MatrixColours& colours) {
    double widest = 1;
    for (int to = 0; to < 3; ++to) {
        double width = 0;
        for (int from = 0; from < 3; ++from) {
            const Range range = RangeOf(colours, to, from);
            width += double{range.most} - double{range.least};
        }
        widest = std::max(widest, width);
    }
    return std::min(kMostSteps, kMostSum / widest);
}

// Fills in what concerns one of sRGB's channels.
void FillChannel(const MatrixColours& colours, int to, double steps, Tables& tables) {
    const auto stepsOf = [steps](double light) {
        return static_cast<std::int64_t>(std::llround(light * steps));
    };
    std::array<std::int64_t, 3> least = {};
    double lowestLight = 0;
    double most = 0;
    for (int from = 0; from < 3; ++from) {
        const Range range = RangeOf(colours, to, from);
        least[static_cast<std::size_t>(from)] = stepsOf(range.least);
        lowestLight += range.least;
        most += range.most;
    }
    const std::int64_t lowest = least[0] + least[1] + least[2];

    for (std::size_t i = 0; i < colours.curves[0].size(); ++i) {
        double grey = 0;
        std::int64_t others = 0;
        for (int from = 0; from < 3; ++from) {
            const double light = LightOf(colours, to, from, i);
            grey += light;
            const std::int64_t entry = stepsOf(light);
            if (from != to) others += entry;
            const auto lane =
                static_cast<std::uint64_t>(entry - least[static_cast<std::size_t>(from)]);
            tables.lights[static_cast<std::size_t>(from)][i] |= lane << (kLaneBits * to);
        }
        // Three roundings would tint greys: this channel's own part makes up for those of the
        // others.
        const std::size_t own = static_cast<std::size_t>(to);
        const std::int64_t entry = std::max<std::int64_t>(0, stepsOf(grey) - others - least[own]);
        std::uint64_t& light = tables.lights[own][i];
        light &= ~(kLane << (kLaneBits * to));
        light |= static_cast<std::uint64_t>(entry) << (kLaneBits * to);
    }

    constexpr std::int64_t kRoundings = 8;
    auto& samples = tables.samples[static_cast<std::size_t>(to)];
    samples.resize(static_cast<std::size_t>(stepsOf(most - lowestLight) + kRoundings));
    for (std::size_t i = 0; i < samples.size(); ++i) {
        samples[i] =
            EncodedSrgb(static_cast<double>(static_cast<std::int64_t>(i) + lowest) / steps);
    }
}

std::size_t Entry(std::uint8_t sample) {
    return sample;
}

// The nearest; the greatest sample has the last one.
std::size_t Entry(std::uint16_t sample) {
    constexpr unsigned int kDropped = 16 - kWordEntryBits;
    constexpr unsigned int kHalf = 1 << (kDropped - 1);
    return (sample - (unsigned{sample} >> kWordEntryBits) + kHalf) >> kDropped;
}

template <typename Sample>
void Convert(const Tables& tables, const std::byte* from, std::uint8_t* pixels, std::size_t count) {
    const auto* samples = reinterpret_cast<const Sample*>(from);
    const std::uint64_t* const red = tables.lights[0].data();
    const std::uint64_t* const green = tables.lights[1].data();
    const std::uint64_t* const blue = tables.lights[2].data();
    const std::uint8_t* const toRed = tables.samples[0].data();
    const std::uint8_t* const toGreen = tables.samples[1].data();
    const std::uint8_t* const toBlue = tables.samples[2].data();
    for (std::size_t i = 0; i < count; ++i, samples += kPixelBytes, pixels += kPixelBytes) {
        const std::uint64_t sums =
            red[Entry(samples[0])] + green[Entry(samples[1])] + blue[Entry(samples[2])];
        if constexpr (sizeof(Sample) > 1) pixels[3] = static_cast<std::uint8_t>(samples[3] >> 8);
        if constexpr (sizeof(Sample) == 1) pixels[3] = samples[3];
        pixels[0] = toRed[sums & kLane];
        pixels[1] = toGreen[(sums >> kLaneBits) & kLane];
        pixels[2] = toBlue[sums >> (2 * kLaneBits)];
    }
}

}  // namespace

PixelConversion MakeMatrixConversion(const MatrixColours& colours, SampleFormat format) {
    if (colours.curves[0].empty() || !AreNumbers(colours)) return {};
    const double steps = StepsFor(colours);
    if (steps < kLeastSteps) return {};

    const auto tables = std::make_shared<Tables>();
    const std::size_t entries = colours.curves[0].size();
    for (auto& lights : tables->lights) lights.resize(entries);
    for (int channel = 0; channel < 3; ++channel) FillChannel(colours, channel, steps, *tables);
    if (format == SampleFormat::Bytes) {
        return [tables](const std::byte* samples, std::uint8_t* pixels, std::size_t count) {
            Convert<std::uint8_t>(*tables, samples, pixels, count);
        };
    }
    return [tables](const std::byte* samples, std::uint8_t* pixels, std::size_t count) {
        Convert<std::uint16_t>(*tables, samples, pixels, count);
    };
}

}  // namespace vistrel
