// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/focal_length.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>

namespace vistrel {
namespace {

constexpr double kLeastChoice = 0.01;
constexpr double kMostChoice = 1e6;

// The long side of a sensor in mm: from those of endoscopes to those of large-format backs. What is
// outside is a tag of some other meaning.
constexpr double kLeastSensor = 0.5;
constexpr double kMostSensor = 300;

// Focal lengths per diagonal: from fish-eyes to telescopes.
constexpr double kLeastPerDiagonal = 0.05;
constexpr double kMostPerDiagonal = 500;

std::optional<double> NumberBefore(std::string_view text, std::string_view unit) {
    if (!text.ends_with(unit)) return std::nullopt;
    text.remove_suffix(unit.size());
    double number = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    if (!(number >= kLeastChoice && number <= kMostChoice)) return std::nullopt;
    return number;
}

double BySensor(const ExifFacts& facts, int width, int height, int reduction) {
    const double longSide = std::max(width, height);
    // Cameras tell the size of the upright picture or of the one that lies; the long side is one.
    double toldLongSide = std::max(facts.pixelWidth, facts.pixelHeight);
    if (toldLongSide == 0) toldLongSide = longSide * reduction;
    const double sensor = toldLongSide / facts.pixelsPerMillimetre;
    if (!(sensor >= kLeastSensor && sensor <= kMostSensor)) return 0;
    return facts.focalLength / sensor * longSide;
}

}  // namespace

std::optional<FocalChoice> ParseFocalChoice(std::string_view text) {
    using Kind = FocalChoice::Kind;
    if (text == "width") return FocalChoice{Kind::Width};
    if (text == "auto") return FocalChoice{Kind::Auto};
    if (const auto number = NumberBefore(text, "mm"))
        return FocalChoice{Kind::Millimetres, *number};
    if (const auto number = NumberBefore(text, "px")) return FocalChoice{Kind::Pixels, *number};
    return std::nullopt;
}

double PixelsOf35mm(double millimetres, int width, int height) {
    return millimetres * std::hypot(width, height) / std::hypot(36, 24);
}

std::optional<double> FocalLengthByExif(const ExifFacts& facts, int width, int height,
                                        int reduction) {
    const auto isPlausible = [diagonal = std::hypot(width, height)](double pixels) {
        return pixels >= kLeastPerDiagonal * diagonal && pixels <= kMostPerDiagonal * diagonal;
    };
    const double byFilm = PixelsOf35mm(facts.focal35mm, width, height);
    if (isPlausible(byFilm)) return byFilm;
    const double bySensor = BySensor(facts, width, height, reduction);
    if (isPlausible(bySensor)) return bySensor;
    return std::nullopt;
}

std::optional<double> ChosenFocalLength(const FocalChoice& choice, const ExifFacts& facts,
                                        int width, int height, int reduction) {
    switch (choice.kind) {
        case FocalChoice::Kind::Width:
            break;
        case FocalChoice::Kind::Auto:
            return FocalLengthByExif(facts, width, height, reduction);
        case FocalChoice::Kind::Millimetres:
            return PixelsOf35mm(choice.value, width, height);
        case FocalChoice::Kind::Pixels:
            return choice.value / reduction;
    }
    return std::nullopt;
}

}  // namespace vistrel
