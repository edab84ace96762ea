// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/pictures/depth_map.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <string>

namespace vistrel {
namespace {

constexpr double kMostValue = 65535.0;
constexpr double kSteps = kMostValue - 1.0;  // from 1, since 0 stands for nothing

struct Range {
    float low = 0.0F;
    float high = 0.0F;
};

Range RangeOf(std::span<const float> inverseDepths) {
    constexpr std::size_t kOneIn = 1000;  // is left out at either end
    std::vector<float> seen;
    std::ranges::copy_if(inverseDepths, std::back_inserter(seen),
                         [](float inverse) { return inverse > 0.0F; });
    if (seen.empty()) return {};
    const auto at = [&seen](std::size_t place) {
        const auto found = seen.begin() + static_cast<std::ptrdiff_t>(place);
        std::ranges::nth_element(seen, found);
        return *found;
    };
    const std::size_t out = seen.size() / kOneIn;
    return {at(out), at(seen.size() - 1 - out)};
}

std::string Scale(const DepthMap& map) {
    std::array<char, 160> text{};
    const double nearest = map.offset + kMostValue * map.step;
    const double farthest = map.offset + map.step;
    std::snprintf(text.data(), text.size(), "offset=%.9g step=%.9g nearest=%.9g farthest=%.9g",
                  map.offset, map.step, 1.0 / nearest, 1.0 / farthest);
    return text.data();
}

}  // namespace

DepthMap DepthMapOf(std::span<const float> inverseDepths, int width, int height) {
    const Range range = RangeOf(inverseDepths);
    DepthMap map;
    map.step = (static_cast<double>(range.high) - static_cast<double>(range.low)) / kSteps;
    if (map.step <= 0.0) map.step = std::max(static_cast<double>(range.low), 1.0) / kSteps;
    map.offset = static_cast<double>(range.low) - map.step;
    map.picture = {.width = width, .height = height, .values = {}};
    map.picture.values.reserve(inverseDepths.size());
    for (const float inverse : inverseDepths) {
        const double value = (static_cast<double>(inverse) - map.offset) / map.step;
        const double rounded = std::round(std::clamp(value, 1.0, kMostValue));
        map.picture.values.push_back(inverse > 0.0F ? static_cast<std::uint16_t>(rounded) : 0);
    }
    return map;
}

std::vector<std::byte> EncodeDepthMap(const DepthMap& map) {
    const std::array texts = {
        PngText{"Description",
                "Depth map, near is bright: 1 / depth = offset + step * value, with the numbers of "
                "DepthScale. The value 0 is where nothing is seen. Depths are along the camera's "
                "axis, in units of the scene."},
        PngText{"DepthScale", Scale(map)}};
    return EncodeGreyPng(map.picture, texts);
}

}  // namespace vistrel
