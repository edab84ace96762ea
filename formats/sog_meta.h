// SPDX-License-Identifier: GPL-3.0-or-later
// meta.json of SOG files: which picture holds what, and what its bytes stand for.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "formats/codebook.h"

namespace vistrel {

// What each byte of a picture's channel stands for.
using ByteValues = std::array<float, kCodebookSize>;

// Colours that depend on the direction, by way of a palette.
struct SogHarmonics {
    std::string palettePicture;
    std::string labelsPicture;
    // Not there in version 1: as large as the picture.
    std::optional<std::size_t> paletteSize;
    std::optional<int> degree;
    ByteValues values;
};

struct SogMeta {
    std::size_t count = 0;  // of Gaussians
    std::string lowPositions;
    std::string highPositions;
    std::array<double, 3> positionMins = {};  // of x, y, z as they are stored, see formats/sog.h
    std::array<double, 3> positionMaxs = {};
    std::string scalesPicture;
    std::array<ByteValues, 3> logScales = {};
    std::string rotationsPicture;
    std::string colorsPicture;
    std::array<ByteValues, 4> colors = {};  // red, green, blue; the opacity's logit
    std::optional<SogHarmonics> harmonics;
};

// Reads version 1 or 2. Throws std::runtime_error that says what is wrong. Any thread.
[[nodiscard]] SogMeta ParseSogMeta(std::span<const std::byte> text);

// What the writer's meta.json says beside what is always the same.
struct SogFacts {
    std::size_t count = 0;
    std::array<double, 3> positionMins = {};
    std::array<double, 3> positionMaxs = {};
    ByteValues scales = {};
    ByteValues colors = {};
    std::size_t paletteSize = 0;  // 0: without harmonics
    int degree = 0;
    ByteValues harmonics = {};
};

// Names of the writer's pictures.
inline constexpr std::string_view kSogMetaName = "meta.json";
inline constexpr std::string_view kLowPositionsName = "means_l.webp";
inline constexpr std::string_view kHighPositionsName = "means_u.webp";
inline constexpr std::string_view kScalesName = "scales.webp";
inline constexpr std::string_view kRotationsName = "quats.webp";
inline constexpr std::string_view kColorsName = "sh0.webp";
inline constexpr std::string_view kPaletteName = "shN_centroids.webp";
inline constexpr std::string_view kLabelsName = "shN_labels.webp";

// A meta.json of version 2. Any thread.
[[nodiscard]] std::string SogMetaText(const SogFacts& facts);

}  // namespace vistrel
