// SPDX-License-Identifier: GPL-3.0-or-later
// The layout of a splat PLY file: an ASCII header, one record per Gaussian, then the camera's
// elements, little-endian and without padding. Header, records and camera all follow from the two
// tables of elements, the vertex here and the camera's in the .cpp.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "engine/disparity_range.h"
#include "engine/gaussian_set.h"

namespace vistrel {

// How a value is stored; the formulas are those of engine/splat_encoding.h.
enum class Encoding {
    SameBits,
    Color,    // linear light as spherical-harmonic coefficient of sRGB
    Opacity,  // logit
    Scale     // natural logarithm
};

// The stored values: `linear` itself, or as many in `scratch`. Any thread.
[[nodiscard]] std::span<const float> EncodedValues(Encoding encoding, std::span<const float> linear,
                                                   float* scratch);

// Neighbouring properties of a vertex that come from one attribute; all are 32-bit floats.
struct VertexGroup {
    AttributeArray GaussianSet::* source;
    std::size_t components;
    Encoding encoding;
    std::array<const char*, 4> names;  // of the first `components` properties
};

inline constexpr std::array kVertexGroups = {
    VertexGroup{&GaussianSet::means, 3, Encoding::SameBits, {"x", "y", "z"}},
    VertexGroup{&GaussianSet::colors, 3, Encoding::Color, {"f_dc_0", "f_dc_1", "f_dc_2"}},
    VertexGroup{&GaussianSet::opacities, 1, Encoding::Opacity, {"opacity"}},
    VertexGroup{&GaussianSet::scales, 3, Encoding::Scale, {"scale_0", "scale_1", "scale_2"}},
    VertexGroup{
        &GaussianSet::quaternions, 4, Encoding::SameBits, {"rot_0", "rot_1", "rot_2", "rot_3"}},
};

inline constexpr std::size_t kVertexFloats = [] {
    std::size_t sum = 0;
    for (const VertexGroup& group : kVertexGroups) sum += group.components;
    return sum;
}();
inline constexpr std::size_t kVertexBytes = kVertexFloats * sizeof(float);

// What the elements behind the vertices say.
struct SplatCamera {
    float focalPx = 0.0F;      // both focal lengths; pixels
    std::uint32_t width = 0;   // of the upright photograph; pixels
    std::uint32_t height = 0;  // the principal point is its middle
    std::int32_t vertexCount = 0;
    DisparityRange disparity;  // of the vertices
};

// From "ply" to "end_header" with its line feed.
[[nodiscard]] std::string SplatPlyHeader(std::int32_t vertexCount);

// The bytes of the elements behind the vertices. Any thread, like the function above.
[[nodiscard]] std::string SplatPlyCamera(const SplatCamera& camera);

}  // namespace vistrel
