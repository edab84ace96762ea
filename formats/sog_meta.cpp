// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/sog_meta.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "formats/raw_scene.h"
#include "formats/scene_values.h"

namespace vistrel {
namespace {

using MetaJson = nlohmann::json;

[[noreturn]] void RefuseMeta(const std::string& what) {
    throw std::runtime_error("its meta.json " + what);
}

const MetaJson& MetaMember(const MetaJson& object, const char* name) {
    if (!object.is_object()) RefuseMeta("is damaged");
    const auto found = object.find(name);
    if (found == object.end()) RefuseMeta(std::string("has no \"") + name + '"');
    return *found;
}

// A number that a float can hold.
double MetaNumber(const MetaJson& value) {
    if (!value.is_number()) RefuseMeta("has something else in the place of a number");
    constexpr double kMost = std::numeric_limits<float>::max();
    return std::clamp(value.get<double>(), -kMost, kMost);
}

std::size_t MetaCount(const MetaJson& value, std::size_t most, const char* what) {
    if (!value.is_number_unsigned()) RefuseMeta(std::string("does not tell the number of ") + what);
    const auto count = value.get<std::uint64_t>();
    if (count > most) RefuseMeta(std::string("claims too many ") + what);
    return static_cast<std::size_t>(count);
}

template <std::size_t kCount>
std::array<double, kCount> MetaNumbers(const MetaJson& values) {
    if (!values.is_array() || values.size() != kCount) {
        RefuseMeta("has a list of the wrong length");
    }
    std::array<double, kCount> numbers;
    std::ranges::transform(values, numbers.begin(), MetaNumber);
    return numbers;
}

std::string MetaFile(const MetaJson& part, std::size_t place) {
    const MetaJson& files = MetaMember(part, "files");
    if (!files.is_array() || files.size() <= place || !files[place].is_string()) {
        RefuseMeta("does not name all pictures");
    }
    return files[place].get<std::string>();
}

// Version 1: equal steps from the least to the greatest value.
ByteValues EqualSteps(double first, double last) {
    ByteValues values;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double share = static_cast<double>(i) / (kCodebookSize - 1);
        values[i] = static_cast<float>(first + ((last - first) * share));
    }
    return values;
}

// Version 2. Some files have null as the first entry, which then is as far from the second as
// entries are on average.
ByteValues CodebookValues(const MetaJson& part) {
    MetaJson entries = MetaMember(part, "codebook");
    if (entries.is_array() && entries.size() == kCodebookSize && entries[0].is_null()) {
        const double second = MetaNumber(entries[1]);
        entries[0] = second + ((second - MetaNumber(entries.back())) / (kCodebookSize - 1));
    }
    ByteValues values;
    std::ranges::transform(MetaNumbers<kCodebookSize>(entries), values.begin(),
                           [](double entry) { return static_cast<float>(entry); });
    return values;
}

ByteValues LogitsOfShares() {
    ByteValues values;
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = LogitOfOpacity(Unquantised(static_cast<std::uint32_t>(i), 8));
    }
    return values;
}

std::size_t SceneCount(const MetaJson& value) {
    const std::size_t count = MetaCount(value, kMostGaussians, "Gaussians");
    if (count == 0) RefuseMeta("claims no Gaussians");
    return count;
}

SogHarmonics OldHarmonics(const MetaJson& part) {
    return {.palettePicture = MetaFile(part, 0),
            .labelsPicture = MetaFile(part, 1),
            .paletteSize = {},
            .degree = {},
            .values = EqualSteps(MetaNumber(MetaMember(part, "mins")),
                                 MetaNumber(MetaMember(part, "maxs")))};
}

void ParseVersion1(const MetaJson& json, SogMeta& meta) {
    const MetaJson& shape = MetaMember(MetaMember(json, "means"), "shape");
    if (!shape.is_array() || shape.empty()) RefuseMeta("does not tell the number of Gaussians");
    meta.count = SceneCount(shape[0]);
    const MetaJson& quats = MetaMember(json, "quats");
    if (quats.contains("encoding") && quats["encoding"] != "quaternion_packed") {
        RefuseMeta("names a coding of rotations that is not read");
    }
    const MetaJson& scales = MetaMember(json, "scales");
    const auto scaleMins = MetaNumbers<3>(MetaMember(scales, "mins"));
    const auto scaleMaxs = MetaNumbers<3>(MetaMember(scales, "maxs"));
    std::ranges::transform(scaleMins, scaleMaxs, meta.logScales.begin(), EqualSteps);
    const MetaJson& sh0 = MetaMember(json, "sh0");
    const auto colorMins = MetaNumbers<4>(MetaMember(sh0, "mins"));
    const auto colorMaxs = MetaNumbers<4>(MetaMember(sh0, "maxs"));
    std::ranges::transform(colorMins, colorMaxs, meta.colors.begin(), EqualSteps);
    if (json.contains("shN")) meta.harmonics = OldHarmonics(json["shN"]);
}

SogHarmonics NewHarmonics(const MetaJson& part) {
    constexpr std::size_t kMostLabels = std::size_t{1} << 16;
    const std::size_t degree =
        MetaCount(MetaMember(part, "bands"), std::numeric_limits<int>::max(), "bands of harmonics");
    if (degree > static_cast<std::size_t>(kMostHarmonicsDegree)) {
        throw std::runtime_error("it has harmonics of degree " + std::to_string(degree) +
                                 ", more than 3");
    }
    return {
        .palettePicture = MetaFile(part, 0),
        .labelsPicture = MetaFile(part, 1),
        .paletteSize = MetaCount(MetaMember(part, "count"), kMostLabels, "colours in its palette"),
        .degree = static_cast<int>(degree),
        .values = CodebookValues(part)};
}

void ParseVersion2(const MetaJson& json, SogMeta& meta) {
    meta.count = SceneCount(MetaMember(json, "count"));
    meta.logScales.fill(CodebookValues(MetaMember(json, "scales")));
    meta.colors.fill(CodebookValues(MetaMember(json, "sh0")));
    meta.colors.back() = LogitsOfShares();
    if (json.contains("shN")) meta.harmonics = NewHarmonics(json["shN"]);
    if (meta.harmonics && meta.harmonics->degree == 0) meta.harmonics.reset();
}

}  // namespace

SogMeta ParseSogMeta(std::span<const std::byte> text) {
    const auto* const first = reinterpret_cast<const char*>(text.data());
    const MetaJson json = MetaJson::parse(first, first + text.size(), nullptr, false);
    if (!json.is_object()) RefuseMeta("is damaged");
    SogMeta meta;
    if (!json.contains("version")) {
        ParseVersion1(json, meta);
    } else if (json["version"] == 2) {
        ParseVersion2(json, meta);
    } else {
        RefuseMeta("is of a version that is not read");
    }
    const MetaJson& means = MetaMember(json, "means");
    meta.lowPositions = MetaFile(means, 0);
    meta.highPositions = MetaFile(means, 1);
    meta.positionMins = MetaNumbers<3>(MetaMember(means, "mins"));
    meta.positionMaxs = MetaNumbers<3>(MetaMember(means, "maxs"));
    meta.scalesPicture = MetaFile(MetaMember(json, "scales"), 0);
    meta.rotationsPicture = MetaFile(MetaMember(json, "quats"), 0);
    meta.colorsPicture = MetaFile(MetaMember(json, "sh0"), 0);
    return meta;
}

std::string SogMetaText(const SogFacts& facts) {
    MetaJson json = {
        {"version", 2},
        {"asset", {{"generator", "Vistrel"}}},
        {"count", facts.count},
        {"means",
         {{"mins", facts.positionMins},
          {"maxs", facts.positionMaxs},
          {"files", MetaJson::array({kLowPositionsName, kHighPositionsName})}}},
        {"scales", {{"codebook", facts.scales}, {"files", MetaJson::array({kScalesName})}}},
        {"quats", {{"files", MetaJson::array({kRotationsName})}}},
        {"sh0", {{"codebook", facts.colors}, {"files", MetaJson::array({kColorsName})}}},
    };
    if (facts.paletteSize > 0) {
        json["shN"] = {{"count", facts.paletteSize},
                       {"bands", facts.degree},
                       {"codebook", facts.harmonics},
                       {"files", MetaJson::array({kPaletteName, kLabelsName})}};
    }
    return json.dump();
}

}  // namespace vistrel
