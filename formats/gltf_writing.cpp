// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "formats/axis_signs.h"
#include "formats/gltf.h"
#include "formats/record_writer.h"
#include "formats/scene_sink.h"
#include "formats/scene_values.h"

namespace vistrel {
namespace {

using OrderedJson = nlohmann::ordered_json;

// Half a turn about x.
constexpr AxisSigns kGlbAxes = {1.0F, -1.0F, -1.0F};

constexpr int kFloatType = 5126;
constexpr int kVertices = 34962;  // what a buffer's view is for
constexpr std::size_t kGlbAlignment = 4;
constexpr std::size_t kBeforeJson = 20;
constexpr std::size_t kBeforeBuffer = 8;

enum class GlbCoding : std::uint8_t { AsIs, Exponential, Opacity, Rotation };

struct GlbAttribute {
    std::string name;
    GlbCoding coding;
    std::vector<std::size_t> rows;  // of its components

    [[nodiscard]] std::size_t Bytes() const { return rows.size() * sizeof(float); }
};

std::vector<GlbAttribute> AttributesOf(int degree) {
    const std::string start = "KHR_gaussian_splatting:";
    constexpr auto kRotation = kRotationRow;
    std::vector<GlbAttribute> attributes = {
        {"POSITION", GlbCoding::AsIs, {0, 1, 2}},
        {start + "ROTATION",
         GlbCoding::Rotation,
         {kRotation + 1, kRotation + 2, kRotation + 3, kRotation}},
        {start + "SCALE", GlbCoding::Exponential, {kScaleRow, kScaleRow + 1, kScaleRow + 2}},
        {start + "OPACITY", GlbCoding::Opacity, {kOpacityRow}},
        {start + "SH_DEGREE_0_COEF_0", GlbCoding::AsIs, {kColorRow, kColorRow + 1, kColorRow + 2}}};
    const std::size_t functions = HarmonicsCount(degree) - 1;
    std::size_t row = kHarmonicsRow;
    for (int l = 1; l <= degree; ++l) {
        for (int n = 0; n <= 2 * l; ++n, ++row) {
            attributes.push_back(
                {start + "SH_DEGREE_" + std::to_string(l) + "_COEF_" + std::to_string(n),
                 GlbCoding::AsIs,
                 {row, row + functions, row + 2 * functions}});
        }
    }
    return attributes;
}

// Puts a row's values, times the sign, where its component is in each record of floats.
template <typename Code>
void PutComponent(const float* row, float sign, std::size_t count, std::size_t components,
                  std::byte* records, const Code& code) {
    for (std::size_t i = 0; i < count; ++i) {
        const float value = code(row[i], i) * sign;
        std::memcpy(records + i * components * sizeof(float), &value, sizeof(value));
    }
}

// Fills the records of an attribute with the Gaussians from place `first` on.
void EncodeAttribute(const RawScene& scene, const GlbAttribute& attribute, const RowSigns& signs,
                     std::size_t first, std::size_t count, std::byte* records) {
    // By which quaternions come to the length 1.
    std::array<double, kScenePiece> factors;
    if (attribute.coding == GlbCoding::Rotation) {
        for (std::size_t i = 0; i < count; ++i) {
            double squares = 0.0;
            for (const std::size_t row : attribute.rows) {
                const double value = scene.Row(row)[first + i];
                squares += value * value;
            }
            factors[i] = 1.0 / std::sqrt(squares);
        }
    }
    const std::size_t components = attribute.rows.size();
    for (const std::size_t row : attribute.rows) {
        const auto put = [&](const auto& code) {
            PutComponent(scene.Row(row) + first, signs[row], count, components, records, code);
        };
        switch (attribute.coding) {
            case GlbCoding::AsIs:
                put([](float value, std::size_t) { return value; });
                break;
            case GlbCoding::Exponential:
                put([](float value, std::size_t) {
                    return std::min(std::exp(value), std::numeric_limits<float>::max());
                });
                break;
            case GlbCoding::Opacity:
                put([](float value, std::size_t) { return OpacityOfLogit(value); });
                break;
            case GlbCoding::Rotation:
                put([&](float value, std::size_t i) {
                    return static_cast<float>(value * factors[i]);
                });
                break;
        }
        records += sizeof(float);
    }
}

OrderedJson CameraJson(const PhotographCamera& camera) {
    const float height = static_cast<float>(camera.height);
    const OrderedJson perspective = {{"aspectRatio", static_cast<float>(camera.width) / height},
                                     {"yfov", 2.0F * std::atan(height / 2.0F / camera.focalY)},
                                     {"znear", 0.01}};
    const OrderedJson extras = {{"focal", {camera.focalX, camera.focalY}},
                                {"centre", {camera.centreX, camera.centreY}},
                                {"size", {camera.width, camera.height}}};
    return {{"type", "perspective"}, {"perspective", perspective}, {"extras", extras}};
}

// The least and the largest position, which accessors of positions must tell.
void AddLimits(const RawScene& scene, OrderedJson& accessor) {
    for (std::size_t row = 0; row < 3; ++row) {
        const auto [least, most] =
            std::minmax_element(scene.Row(row), scene.Row(row) + scene.Count());
        const bool isTurned = kGlbAxes[row] < 0.0F;
        accessor["min"].push_back(isTurned ? -*most : *least);
        accessor["max"].push_back(isTurned ? -*least : *most);
    }
}

OrderedJson DocumentOf(const RawScene& scene, const std::vector<GlbAttribute>& attributes) {
    OrderedJson views;
    OrderedJson accessors;
    OrderedJson names;
    std::size_t offset = 0;
    for (const GlbAttribute& attribute : attributes) {
        constexpr std::array<const char*, 5> kTypes = {"", "SCALAR", "", "VEC3", "VEC4"};
        const std::size_t bytes = scene.Count() * attribute.Bytes();
        names[attribute.name] = accessors.size();
        accessors.push_back({{"bufferView", views.size()},
                             {"componentType", kFloatType},
                             {"count", scene.Count()},
                             {"type", kTypes[attribute.rows.size()]}});
        views.push_back(
            {{"buffer", 0}, {"byteOffset", offset}, {"byteLength", bytes}, {"target", kVertices}});
        offset += bytes;
    }
    AddLimits(scene, accessors[0]);
    const OrderedJson splatting = {{"kernel", "ellipse"},
                                   {"colorSpace", "srgb_rec709_display"},
                                   {"projection", "perspective"},
                                   {"sortingMethod", "cameraDistance"}};
    const OrderedJson primitive = {{"attributes", names},
                                   {"mode", 0},
                                   {"extensions", {{"KHR_gaussian_splatting", splatting}}}};
    OrderedJson document = {{"asset", {{"version", "2.0"}, {"generator", "Vistrel"}}},
                            {"extensionsUsed", OrderedJson::array({"KHR_gaussian_splatting"})},
                            {"scene", 0}};
    OrderedJson nodes = OrderedJson::array({{{"mesh", 0}}});
    OrderedJson roots = OrderedJson::array({0});
    if (scene.Facts().camera) {
        document["cameras"] = OrderedJson::array({CameraJson(*scene.Facts().camera)});
        nodes.push_back({{"camera", 0}});
        roots.push_back(1);
    }
    document["scenes"] = OrderedJson::array({{{"nodes", roots}}});
    document["nodes"] = nodes;
    document["meshes"] = OrderedJson::array({{{"primitives", OrderedJson::array({primitive})}}});
    document["accessors"] = accessors;
    document["bufferViews"] = views;
    document["buffers"] = OrderedJson::array({{{"byteLength", offset}}});
    return document;
}

void AppendNumber(std::size_t number, ByteSink& sink) {
    std::array<std::byte, 4> bytes;
    for (std::size_t k = 0; k < bytes.size(); ++k) {
        bytes[k] = static_cast<std::byte>(number >> 8 * k);
    }
    sink.Append(bytes);
}

}  // namespace

void WriteGlb(const RawScene& scene, const SceneWriteOptions& options, ByteSink& sink) {
    const std::vector<GlbAttribute> attributes = AttributesOf(scene.Degree());
    std::string json = DocumentOf(scene, attributes).dump();
    while (json.size() % kGlbAlignment != 0) json += ' ';
    const std::size_t buffer = scene.Count() * RawValues(scene.Degree()) * sizeof(float);
    const std::size_t size = kBeforeJson + json.size() + kBeforeBuffer + buffer;
    if (size > std::numeric_limits<std::uint32_t>::max()) {
        throw std::runtime_error("it would be larger than 4 GiB, which GLB files cannot be");
    }
    sink.Append("glTF");
    AppendNumber(2, sink);
    AppendNumber(size, sink);
    AppendNumber(json.size(), sink);
    sink.Append("JSON");
    sink.Append(json);
    AppendNumber(buffer, sink);
    sink.Append(std::string_view("BIN\0", 4));
    const RowSigns signs = SignsOfRows(kGlbAxes, scene.Degree());
    for (const GlbAttribute& attribute : attributes) {
        WriteRecords(scene.Count(), attribute.Bytes(), options.threads, sink,
                     [&](std::size_t first, std::size_t count, std::byte* records) {
                         EncodeAttribute(scene, attribute, signs, first, count, records);
                     });
    }
}

}  // namespace vistrel
