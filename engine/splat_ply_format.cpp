// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/splat_ply_format.h"

#include <bit>
#include <string_view>

#include "engine/splat_encoding.h"

namespace vistrel {
namespace {

static_assert(std::endian::native == std::endian::little, "numbers are stored as they are");

struct PlyType {
    const char* name;
    std::size_t bytes;
};
constexpr PlyType kFloat = {"float", 4};
constexpr PlyType kUnsigned = {"uint", 4};
constexpr PlyType kSigned = {"int", 4};
constexpr PlyType kByte = {"uchar", 1};

// An element with one property of the same name.
struct CameraElement {
    const char* name;
    PlyType type;
    std::size_t count;
    std::uint32_t (*bits)(const SplatCamera& camera, std::size_t index);
};

std::uint32_t Bits(float value) {
    return std::bit_cast<std::uint32_t>(value);
}

float Half(std::uint32_t pixels) {
    return static_cast<float>(pixels) * 0.5F;
}

// 4 x 4, row by row: the photograph's camera is the origin of the scene.
std::uint32_t Extrinsic(const SplatCamera& /*camera*/, std::size_t index) {
    return Bits(index % 5 == 0 ? 1.0F : 0.0F);
}

// 3 x 3, row by row.
std::uint32_t Intrinsic(const SplatCamera& camera, std::size_t index) {
    const std::array<float, 9> matrix = {camera.focalPx, 0.0F,           Half(camera.width),
                                         0.0F,           camera.focalPx, Half(camera.height),
                                         0.0F,           0.0F,           1.0F};
    return Bits(matrix[index]);
}

std::uint32_t ImageSize(const SplatCamera& camera, std::size_t index) {
    return index == 0 ? camera.width : camera.height;
}

// One frame of so many vertices.
std::uint32_t Frame(const SplatCamera& camera, std::size_t index) {
    return index == 0 ? 1U : static_cast<std::uint32_t>(camera.vertexCount);
}

std::uint32_t Disparity(const SplatCamera& camera, std::size_t index) {
    return Bits(index == 0 ? camera.disparity.low : camera.disparity.high);
}

std::uint32_t ColorSpace(const SplatCamera& /*camera*/, std::size_t /*index*/) {
    return 1U;
}

std::uint32_t Version(const SplatCamera& /*camera*/, std::size_t index) {
    constexpr std::array<std::uint32_t, 3> kVersion = {1, 5, 0};
    return kVersion[index];
}

constexpr std::array kCameraElements = {
    CameraElement{"extrinsic", kFloat, 16, Extrinsic},
    CameraElement{"intrinsic", kFloat, 9, Intrinsic},
    CameraElement{"image_size", kUnsigned, 2, ImageSize},
    CameraElement{"frame", kSigned, 2, Frame},
    CameraElement{"disparity", kFloat, 2, Disparity},
    CameraElement{"color_space", kByte, 1, ColorSpace},
    CameraElement{"version", kByte, 3, Version},
};

class HeaderText {
  public:
    void Element(std::string_view name, std::size_t count) {
        text_.append("element ").append(name).append(" ") += std::to_string(count) + "\n";
    }
    void Property(const PlyType& type, std::string_view name) {
        text_.append("property ").append(type.name).append(" ").append(name) += "\n";
    }
    [[nodiscard]] std::string End() && { return std::move(text_.append("end_header\n")); }

  private:
    std::string text_ = "ply\nformat binary_little_endian 1.0\n";
};

}  // namespace

std::span<const float> EncodedValues(Encoding encoding, std::span<const float> linear,
                                     float* scratch) {
    const std::span<float> encoded(scratch, linear.size());
    switch (encoding) {
        case Encoding::SameBits:
            return linear;
        case Encoding::Color:
            EncodeColors(linear, encoded);
            break;
        case Encoding::Opacity:
            EncodeOpacities(linear, encoded);
            break;
        case Encoding::Scale:
            EncodeScales(linear, encoded);
            break;
    }
    return encoded;
}

std::string SplatPlyHeader(std::int32_t vertexCount) {
    HeaderText text;
    text.Element("vertex", static_cast<std::size_t>(vertexCount));
    for (const VertexGroup& group : kVertexGroups) {
        for (std::size_t i = 0; i < group.components; ++i) text.Property(kFloat, group.names[i]);
    }
    for (const CameraElement& element : kCameraElements) {
        text.Element(element.name, element.count);
        text.Property(element.type, element.name);
    }
    return std::move(text).End();
}

std::string SplatPlyCamera(const SplatCamera& camera) {
    std::string bytes;
    for (const CameraElement& element : kCameraElements) {
        for (std::size_t i = 0; i < element.count; ++i) {
            const auto value =
                std::bit_cast<std::array<char, sizeof(std::uint32_t)>>(element.bits(camera, i));
            bytes.append(value.data(), element.type.bytes);
        }
    }
    return bytes;
}

}  // namespace vistrel
