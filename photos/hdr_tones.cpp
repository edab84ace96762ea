// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/hdr_tones.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "photos/coded_colours.h"
#include "photos/icc_conversion.h"
#include "photos/srgb_encoding.h"

namespace vistrel {
namespace {

constexpr double kPqMost = 10000;  // cd/m2
constexpr double kPaperWhite = 203;
constexpr double kHlgPeak = 1000;
constexpr double kHlgGamma = 1.2;  // of the OOTF of a display of that peak

// Words are looked up by their upper 12 bits, as many as the finest files have.
constexpr int kIndexBits = 12;
constexpr std::size_t kCurveSteps = 4096;
constexpr std::size_t kEncodingSteps = 16384;

// BT.2100's constants of PQ.
constexpr double kM1 = 2610.0 / 16384;
constexpr double kM2 = 2523.0 / 4096 * 128;
constexpr double kC1 = 3424.0 / 4096;
constexpr double kC2 = 2413.0 / 4096 * 32;
constexpr double kC3 = 2392.0 / 4096 * 32;

double PqToNits(double sample) {
    const double power = std::pow(sample, 1 / kM2);
    return kPqMost * std::pow(std::max(power - kC1, 0.0) / (kC2 - kC3 * power), 1 / kM1);
}

double NitsToPq(double nits) {
    const double power = std::pow(nits / kPqMost, kM1);
    return std::pow((kC1 + kC2 * power) / (1 + kC3 * power), kM2);
}

// The scene's light, 0..1.
double HlgToScene(double sample) {
    constexpr double kA = 0.17883277;
    constexpr double kB = 0.28466892;
    constexpr double kC = 0.55991073;
    return sample <= 0.5 ? sample * sample / 3 : (std::exp((sample - kC) / kA) + kB) / 12;
}

// The EETF of BT.2390 from a display of the brightest light to one of white paper, both black at 0.
double RolledOff(double nits, double brightest) {
    if (brightest <= kPaperWhite) return std::min(nits, kPaperWhite);
    const double whole = NitsToPq(brightest);
    const double most = NitsToPq(kPaperWhite) / whole;
    const double knee = 1.5 * most - 0.5;
    const double from = std::min(NitsToPq(nits) / whole, 1.0);
    double to = from;
    if (from > knee) {
        const double t = (from - knee) / (1 - knee);
        const double t2 = t * t;
        const double t3 = t2 * t;
        to = (2 * t3 - 3 * t2 + 1) * knee + (t3 - 2 * t2 + t) * (1 - knee) +
             (3 * t2 - 2 * t3) * most;
    }
    return std::min(PqToNits(to * whole), kPaperWhite);
}

// A function of light 0..1 by its values at the squares of evenly spaced numbers, which lie densest
// where eyes see most.
class LightTable {
  public:
    template <typename Function>
    explicit LightTable(const Function& function) {
        values_.reserve(kCurveSteps + 2);
        for (std::size_t i = 0; i <= kCurveSteps + 1; ++i) {
            const double root = static_cast<double>(i) / kCurveSteps;
            values_.push_back(static_cast<float>(function(root * root)));
        }
    }

    [[nodiscard]] float At(float light) const {
        const float place = std::sqrt(std::min(light, 1.0F)) * static_cast<float>(kCurveSteps);
        const auto step = static_cast<std::size_t>(place);
        const float part = place - static_cast<float>(step);
        return values_[step] + part * (values_[step + 1] - values_[step]);
    }

  private:
    std::vector<float> values_;
};

struct Colour {
    float red, green, blue;
};

float Largest(const Colour& colour) {
    return std::max({colour.red, colour.green, colour.blue});
}

float Smallest(const Colour& colour) {
    return std::min({colour.red, colour.green, colour.blue});
}

Colour Scaled(const Colour& colour, float factor) {
    return {colour.red * factor, colour.green * factor, colour.blue * factor};
}

Colour Product(const LightMatrix& matrix, const Colour& colour) {
    const auto row = [&](const float* weights) {
        return weights[0] * colour.red + weights[1] * colour.green + weights[2] * colour.blue;
    };
    return {row(matrix.rows[0]), row(matrix.rows[1]), row(matrix.rows[2])};
}

float SrgbLuminance(const Colour& colour) {
    return 0.2126F * colour.red + 0.7152F * colour.green + 0.0722F * colour.blue;
}

// How far a colour is from grey, as a part of the way to the edge of sRGB, shortened so that those
// of the widest primaries there are just reach the edge.
float ShortenedReach(float reach) {
    constexpr float kKept = 0.9F;
    constexpr float kWidest = 2.3F;
    constexpr float kFarthest = (kWidest - kKept) / (1 - kKept);
    const float beyond = (reach - kKept) / (1 - kKept);
    const float shortened = beyond * (1 + beyond / (kFarthest * kFarthest)) / (1 + beyond);
    return std::min(kKept + (1 - kKept) * shortened, 1.0F);
}

// `colour` within sRGB, with its hue and luminance.
Colour WithinSrgb(const Colour& colour) {
    constexpr float kKept = 0.9F;
    const float grey = SrgbLuminance(colour);
    if (!(grey > 0)) return {};
    if (grey >= 1) return {1, 1, 1};
    const float reach = std::max((Largest(colour) - grey) / (1 - grey),  //
                                 (grey - Smallest(colour)) / grey);
    if (reach <= kKept) return colour;
    const float factor = ShortenedReach(reach) / reach;
    const auto moved = [&](float light) { return grey + (light - grey) * factor; };
    return {moved(colour.red), moved(colour.green), moved(colour.blue)};
}

// Everything from samples to pixels.
struct Tones {
    std::vector<float> lights;  // of a sample: cd/m2, or the scene's 0..1 of HLG
    int dropped = 0;            // lower bits of a sample
    bool ofScene = false;
    LightMatrix toSrgb;
    Colour luminance = {};  // weights of the file's primaries
    float brightest = 0;    // cd/m2
    std::vector<std::uint8_t> encoded;
    // By the part of the brightest light: the factor to sRGB's light, in which white is 1.
    std::optional<LightTable> rollOff;
    std::optional<LightTable> displayed;  // by the scene's luminance: the factor to cd/m2

    [[nodiscard]] Colour Displayed(const Colour& light) const {
        if (!ofScene) return light;
        const float scene =
            luminance.red * light.red + luminance.green * light.green + luminance.blue * light.blue;
        return Scaled(light, displayed->At(std::max(scene, 0.0F)));
    }

    template <typename Sample>
    [[nodiscard]] Colour LightOf(const Sample* samples) const {
        return Displayed({lights[samples[0] >> dropped], lights[samples[1] >> dropped],
                          lights[samples[2] >> dropped]});
    }

    [[nodiscard]] std::uint8_t Encoded(float light) const {
        constexpr float kHalf = 0.5F;
        constexpr auto kMost = static_cast<float>(kEncodingSteps - 1);
        return encoded[static_cast<std::size_t>(std::clamp(light * kMost, 0.0F, kMost) + kHalf)];
    }

    template <typename Sample>
    void Convert(const std::byte* from, std::uint8_t* pixels, std::size_t count) const {
        const auto* samples = reinterpret_cast<const Sample*>(from);
        for (std::size_t i = 0; i < count; ++i, samples += kPixelBytes, pixels += kPixelBytes) {
            const Colour light = LightOf(samples);
            // Beyond the brightest, the largest one becomes 1.
            const float part = Largest(light) / brightest;
            const float factor = rollOff->At(part) / std::max(part, 1.0F);
            const Colour colour = WithinSrgb(Product(toSrgb, Scaled(light, factor)));
            pixels[3] = static_cast<std::uint8_t>(samples[3] >> (8 * (sizeof(Sample) - 1)));
            pixels[0] = Encoded(colour.red);
            pixels[1] = Encoded(colour.green);
            pixels[2] = Encoded(colour.blue);
        }
    }
};

void FillLights(int transfer, SampleFormat format, Tones& tones) {
    tones.ofScene = transfer == kHlgTransfer;
    tones.dropped = format == SampleFormat::Bytes ? 0 : 16 - kIndexBits;
    tones.lights.resize(format == SampleFormat::Bytes ? 256 : std::size_t{1} << kIndexBits);
    const double last = static_cast<double>(tones.lights.size() - 1);
    for (std::size_t i = 0; i < tones.lights.size(); ++i) {
        const double sample = static_cast<double>(i) / last;
        tones.lights[i] = static_cast<float>(tones.ofScene ? HlgToScene(sample) : PqToNits(sample));
    }
    tones.displayed.emplace([](double scene) { return kHlgPeak * std::pow(scene, kHlgGamma - 1); });
}

// The brightest light of a picture but for the few pixels that may be sparks, in cd/m2.
template <typename Sample>
double FindBrightest(const Tones& tones, const DecodedPhoto& photo) {
    constexpr std::size_t kLooks = 1'000'000;
    constexpr std::size_t kSparks = 10'000;  // one of so many may be one
    const auto* samples = reinterpret_cast<const Sample*>(photo.samples.get());
    const std::size_t count =
        static_cast<std::size_t>(photo.width) * static_cast<std::size_t>(photo.height);
    // An odd distance, so that it is not always the same columns.
    const std::size_t distance = (count / kLooks) | 1;
    std::vector<float> lights;
    lights.reserve(count / distance + 1);
    for (std::size_t i = 0; i < count; i += distance) {
        lights.push_back(Largest(tones.LightOf(samples + kPixelBytes * i)));
    }
    const auto place = lights.begin() + static_cast<std::ptrdiff_t>(lights.size() / kSparks);
    std::nth_element(lights.begin(), place, lights.end(), std::greater<>());
    return *place;
}

void FillRollOff(double brightest, Tones& tones) {
    brightest = std::clamp(brightest, kPaperWhite, kPqMost);
    tones.brightest = static_cast<float>(brightest);
    tones.rollOff.emplace([brightest](double part) {
        constexpr double kLeast = 1e-9;  // instead of 0, which has no factor
        const double nits = std::max(part, kLeast) * brightest;
        return RolledOff(nits, brightest) / nits / kPaperWhite;
    });
}

void FillEncoding(Tones& tones) {
    tones.encoded.reserve(kEncodingSteps);
    for (std::size_t i = 0; i < kEncodingSteps; ++i) {
        tones.encoded.push_back(EncodedSrgb(static_cast<double>(i) / (kEncodingSteps - 1)));
    }
}

// What each of the primaries adds to the luminance: as sRGB's do, whose white is the same.
Colour LuminanceWeights(const LightMatrix& toSrgb) {
    const auto weight = [&](int from) {
        return SrgbLuminance({toSrgb.rows[0][from], toSrgb.rows[1][from], toSrgb.rows[2][from]});
    };
    return {weight(0), weight(1), weight(2)};
}

}  // namespace

PixelConversion MakeHdrConversion(const DecodedPhoto& photo) {
    const std::optional<LightMatrix> matrix =
        LightMatrixToSrgb(PrimariesOfCode(photo.colours.coded.primaries));
    if (!matrix) return {};
    const auto tones = std::make_shared<Tones>();
    tones->toSrgb = *matrix;
    tones->luminance = LuminanceWeights(*matrix);
    FillLights(photo.colours.coded.transfer, photo.format, *tones);
    FillEncoding(*tones);
    if (photo.format == SampleFormat::Bytes) {
        FillRollOff(FindBrightest<std::uint8_t>(*tones, photo), *tones);
        return [tones](const std::byte* samples, std::uint8_t* pixels, std::size_t count) {
            tones->Convert<std::uint8_t>(samples, pixels, count);
        };
    }
    FillRollOff(FindBrightest<std::uint16_t>(*tones, photo), *tones);
    return [tones](const std::byte* samples, std::uint8_t* pixels, std::size_t count) {
        tones->Convert<std::uint16_t>(samples, pixels, count);
    };
}

}  // namespace vistrel
