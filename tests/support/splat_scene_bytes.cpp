// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/splat_scene_bytes.h"

#include <cmath>

namespace vistrel::test {
namespace {

template <typename Values>
void Append(std::string& bytes, const Values& values) {
    bytes.append(reinterpret_cast<const char*>(values.data()),
                 values.size() * sizeof(*values.data()));
}

}  // namespace

RawGaussian WhiteVertex(std::array<float, 3> position, float sigma, float opacity) {
    RawGaussian vertex{};
    vertex.position = position;
    vertex.colorDc.fill(0.5F / 0.28209478F);
    vertex.opacityLogit = std::log(opacity / (1.0F - opacity));
    vertex.logScale.fill(std::log(sigma));
    vertex.rotation = {1, 0, 0, 0};
    return vertex;
}

std::string SceneBytes(const SceneParts& parts) {
    const std::string count =
        parts.vertexCount.empty() ? std::to_string(parts.vertices.size()) : parts.vertexCount;
    std::string bytes =
        "ply\nformat binary_little_endian 1.0\nelement vertex " + count +
        "\nproperty float x\nproperty float y\nproperty float z\n"
        "property float f_dc_0\nproperty float f_dc_1\nproperty float f_dc_2\n"
        "property float opacity\n"
        "property float scale_0\nproperty float scale_1\nproperty float scale_2\n"
        "property float rot_0\nproperty float rot_1\nproperty float rot_2\nproperty float rot_3\n"
        "element extrinsic 16\nproperty float extrinsic\n"
        "element intrinsic 9\nproperty float intrinsic\n"
        "element image_size 2\nproperty uint image_size\n"
        "element frame 2\nproperty int frame\n"
        "element disparity 2\nproperty float disparity\n"
        "element color_space 1\nproperty uchar color_space\n"
        "element version 3\nproperty uchar version\nend_header\n";
    Append(bytes, parts.vertices);
    Append(bytes, std::array<float, 16>{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
    Append(bytes, parts.intrinsic);
    Append(bytes, parts.imageSize);
    Append(bytes, std::array<std::int32_t, 2>{1, static_cast<std::int32_t>(parts.vertices.size())});
    Append(bytes, std::array<float, 2>{0, 1});
    Append(bytes, std::array<std::uint8_t, 4>{1, 1, 5, 0});
    return bytes;
}

}  // namespace vistrel::test
