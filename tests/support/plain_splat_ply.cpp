// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/plain_splat_ply.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <fstream>
#include <initializer_list>
#include <numeric>
#include <stdexcept>

#include "base/text_encoding.h"

namespace vistrel::test {
namespace {

template <typename Value>
void WriteValue(std::ofstream& file, Value value) {
    char bytes[sizeof(Value)];
    std::copy_n(reinterpret_cast<const char*>(&value), sizeof(Value), bytes);
    file.write(bytes, sizeof(Value));
}

void WriteHeader(std::ofstream& file, std::size_t count) {
    file << "ply\n"
         << "format binary_little_endian 1.0\n"
         << "element vertex " << count << "\n";
    for (const char* name : {"x", "y", "z", "f_dc_0", "f_dc_1", "f_dc_2", "opacity", "scale_0",
                             "scale_1", "scale_2", "rot_0", "rot_1", "rot_2", "rot_3"}) {
        file << "property float " << name << "\n";
    }
    file << "element extrinsic 16\n"
         << "property float extrinsic\n"
         << "element intrinsic 9\n"
         << "property float intrinsic\n"
         << "element image_size 2\n"
         << "property uint image_size\n"
         << "element frame 2\n"
         << "property int frame\n"
         << "element disparity 2\n"
         << "property float disparity\n"
         << "element color_space 1\n"
         << "property uchar color_space\n"
         << "element version 3\n"
         << "property uchar version\n"
         << "end_header\n";
}

void WriteVertex(std::ofstream& file, const GaussianSet& gaussians, std::size_t i) {
    for (std::size_t c = 0; c < 3; ++c) WriteValue(file, gaussians.means.data[3 * i + c]);
    for (std::size_t c = 0; c < 3; ++c) {
        WriteValue(file, PlainColor(gaussians.colors.data[3 * i + c]));
    }
    WriteValue(file, PlainOpacity(gaussians.opacities.data[i]));
    for (std::size_t c = 0; c < 3; ++c) {
        WriteValue(file, PlainScale(gaussians.scales.data[3 * i + c]));
    }
    for (std::size_t c = 0; c < 4; ++c) WriteValue(file, gaussians.quaternions.data[4 * i + c]);
}

float Importance(const GaussianSet& gaussians, std::int32_t index) {
    const auto i = static_cast<std::size_t>(index);
    const float* scale = &gaussians.scales.data[3 * i];
    return scale[1] * scale[0] * scale[2] * gaussians.opacities.data[i];
}

bool MoreImportant(float a, float b) {
    if (std::isnan(b)) return !std::isnan(a);
    return a > b;
}

}  // namespace

float PlainColor(float linear) {
    const float s =
        linear <= 0.0031308F ? linear * 12.92F : 1.055F * powf(linear, 0.41666666F) - 0.055F;
    return (s - 0.5F) / 0.28209478F;
}

float PlainOpacity(float linear) {
    float o = linear;
    if (!(o < 0.999999F)) o = 0.999999F;
    if (!(o > 1e-6F)) o = 1e-6F;
    return logf(o / (1.0F - o));
}

float PlainScale(float linear) {
    return logf(std::max(linear, 1e-10F));
}

std::vector<std::int32_t> PlainKeptIndices(const GaussianSet& gaussians, float keepRatio) {
    std::vector<std::int32_t> indices(static_cast<std::size_t>(gaussians.count));
    std::iota(indices.begin(), indices.end(), 0);
    if (!(keepRatio < 1.0F) || indices.empty()) return indices;
    std::sort(indices.begin(), indices.end(), [&](std::int32_t a, std::int32_t b) {
        const float importanceOfA = Importance(gaussians, a);
        const float importanceOfB = Importance(gaussians, b);
        if (MoreImportant(importanceOfA, importanceOfB)) return true;
        if (MoreImportant(importanceOfB, importanceOfA)) return false;
        return a < b;
    });
    const float share = static_cast<float>(gaussians.count) * keepRatio;
    indices.resize(share < 1.0F ? 1 : static_cast<std::size_t>(share));
    std::sort(indices.begin(), indices.end());
    return indices;
}

DisparityRange PlainDisparityRange(std::vector<float> z) {
    if (z.empty()) return {0.0F, 1.0F};
    for (float& value : z) value = 1.0F / value;
    std::sort(z.begin(), z.end());
    const auto n = static_cast<float>(z.size());
    return {z[static_cast<std::size_t>(n * 0.1F)], z[static_cast<std::size_t>(n * 0.9F)]};
}

void WritePlainSplatPly(const GaussianSet& gaussians, const std::wstring& outputPath, float focalPx,
                        std::uint32_t width, std::uint32_t height, float keepRatio) {
    const std::vector<std::int32_t> kept = PlainKeptIndices(gaussians, keepRatio);
    std::ofstream file(ToPath(outputPath), std::ios::binary | std::ios::trunc);
    if (!file) throw std::runtime_error("Cannot open output file");
    WriteHeader(file, kept.size());
    std::vector<float> depths;
    for (const std::int32_t index : kept) {
        const auto i = static_cast<std::size_t>(index);
        WriteVertex(file, gaussians, i);
        const float z = gaussians.means.data[3 * i + 2];
        if (z > 1e-6F) depths.push_back(z);
    }
    for (int i = 0; i < 16; ++i) WriteValue(file, i % 5 == 0 ? 1.0F : 0.0F);
    const float centreX = static_cast<float>(width) * 0.5F;
    const float centreY = static_cast<float>(height) * 0.5F;
    for (const float value : {focalPx, 0.0F, centreX, 0.0F, focalPx, centreY, 0.0F, 0.0F, 1.0F}) {
        WriteValue(file, value);
    }
    WriteValue(file, width);
    WriteValue(file, height);
    WriteValue(file, std::int32_t{1});
    WriteValue(file, static_cast<std::int32_t>(kept.size()));
    const DisparityRange disparity = PlainDisparityRange(std::move(depths));
    WriteValue(file, disparity.low);
    WriteValue(file, disparity.high);
    for (const char value : {'\1', '\1', '\5', '\0'}) WriteValue(file, value);
}

}  // namespace vistrel::test
