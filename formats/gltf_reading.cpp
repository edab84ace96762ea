// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/gltf.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "formats/axis_signs.h"
#include "formats/gltf_scene.h"
#include "formats/scene_values.h"

namespace vistrel {
namespace {

constexpr std::string_view kGlbStart = "glTF";
constexpr std::uint32_t kGlbVersion = 2;
constexpr std::uint32_t kJsonChunk = 0x4E4F534A;
constexpr std::uint32_t kBinaryChunk = 0x004E4942;
constexpr std::size_t kGlbHeader = 12;
constexpr std::size_t kChunkHeader = 8;
constexpr std::uint64_t kMostJson = std::uint64_t{1} << 28;

// Half a turn about x.
constexpr AxisSigns kGltfAxes = {1.0F, -1.0F, -1.0F};

std::uint32_t GlbNumber(const InputFile& file, std::uint64_t place) {
    std::array<std::byte, 4> bytes;
    if (place + bytes.size() > file.Size()) throw std::runtime_error("it is cut short");
    file.Read(place, bytes);
    std::uint32_t number = 0;
    std::memcpy(&number, bytes.data(), sizeof(number));
    return number;
}

std::string GltfText(const InputFile& file, std::uint64_t place, std::uint64_t size) {
    if (place + size > file.Size()) throw std::runtime_error("it is cut short");
    if (size > kMostJson) throw std::runtime_error("its JSON is too long");
    std::string text(size, '\0');
    file.Read(place, std::as_writable_bytes(std::span(text)));
    return text;
}

GltfScene ParseGlb(const SceneInput& input) {
    const InputFile& file = input.file;
    if (GlbNumber(file, 4) != kGlbVersion) {
        throw std::runtime_error("it is of a version of glTF that is not 2");
    }
    const std::uint64_t json = GlbNumber(file, kGlbHeader);
    if (GlbNumber(file, kGlbHeader + 4) != kJsonChunk) {
        throw std::runtime_error("it does not begin with JSON");
    }
    constexpr std::uint64_t kJsonPlace = kGlbHeader + kChunkHeader;
    const std::string text = GltfText(file, kJsonPlace, json);
    std::optional<GltfBuffer> buffer;
    const std::uint64_t next = kJsonPlace + json;
    if (next < file.Size() && GlbNumber(file, next + 4) == kBinaryChunk) {
        buffer = GltfBuffer{&file, next + kChunkHeader, GlbNumber(file, next)};
        if (buffer->size > file.Size() - buffer->offset) {
            throw std::runtime_error("it is cut short");
        }
    }
    return ParseGltf(text, buffer, input.folder);
}

bool BeginsAsGlb(const InputFile& file) {
    std::array<std::byte, kGlbStart.size()> start;
    if (file.Size() < start.size()) return false;
    file.Read(0, start);
    return std::memcmp(start.data(), kGlbStart.data(), start.size()) == 0;
}

float NumberOf(GltfType type, bool isNormalized, const std::byte* bytes) {
    const auto whole = [&](auto number, float most) {
        std::memcpy(&number, bytes, sizeof(number));
        const auto value = static_cast<float>(number);
        return isNormalized ? std::max(value / most, -1.0F) : value;
    };
    switch (type) {
        case GltfType::Byte:
            return whole(std::int8_t{}, 127.0F);
        case GltfType::UnsignedByte:
            return whole(std::uint8_t{}, 255.0F);
        case GltfType::Short:
            return whole(std::int16_t{}, 32767.0F);
        case GltfType::UnsignedShort:
            return whole(std::uint16_t{}, 65535.0F);
        case GltfType::Float:
            break;
    }
    float value = 0.0F;
    std::memcpy(&value, bytes, sizeof(value));
    return value;
}

// Gaussians of one primitive, on their way to a piece.
struct GltfPiece {
    std::size_t first = 0;  // in the primitive
    std::size_t count = 0;
    float* rows = nullptr;  // of the piece, from the first of these Gaussians on
};

// Reads component k of the accessor into the row `rows[k]`.
template <std::size_t kComponents>
void ReadAttribute(const GltfAccessor& accessor, const GltfPiece& piece,
                   const std::array<std::size_t, kComponents>& rows) {
    const std::size_t size = GltfTypeBytes(accessor.type);
    std::vector<std::byte> bytes((piece.count - 1) * accessor.stride + kComponents * size);
    accessor.file->Read(accessor.offset + piece.first * accessor.stride, bytes);
    for (std::size_t k = 0; k < kComponents; ++k) {
        float* const to = piece.rows + rows[k] * kScenePiece;
        for (std::size_t i = 0; i < piece.count; ++i) {
            to[i] = NumberOf(accessor.type, accessor.isNormalized,
                             bytes.data() + i * accessor.stride + k * size);
        }
    }
}

constexpr std::array<std::size_t, 4> kGltfRotationRows = {kRotationRow + 1, kRotationRow + 2,
                                                          kRotationRow + 3, kRotationRow};

void ReadHarmonics(const GltfPrimitive& primitive, int degree, const GltfPiece& piece) {
    const std::size_t functions = HarmonicsCount(degree) - 1;
    for (std::size_t k = 0; k < functions; ++k) {
        const std::array rows = {kHarmonicsRow + k, kHarmonicsRow + functions + k,
                                 kHarmonicsRow + 2 * functions + k};
        if (k + 1 < HarmonicsCount(primitive.degree)) {
            ReadAttribute(primitive.harmonics[k + 1], piece, rows);
            continue;
        }
        for (const std::size_t row : rows) {
            std::fill_n(piece.rows + row * kScenePiece, piece.count, 0.0F);
        }
    }
}

// `degree` is the whole scene's.
void ReadPiece(const GltfPrimitive& primitive, int degree, const GltfPiece& piece) {
    ReadAttribute<3>(primitive.position, piece, {0, 1, 2});
    ReadAttribute<3>(primitive.scale, piece, {kScaleRow, kScaleRow + 1, kScaleRow + 2});
    ReadAttribute<4>(primitive.rotation, piece, kGltfRotationRows);
    ReadAttribute<1>(primitive.opacity, piece, {kOpacityRow});
    ReadAttribute<3>(primitive.harmonics[0], piece, {kColorRow, kColorRow + 1, kColorRow + 2});
    ReadHarmonics(primitive, degree, piece);
    float* const opacity = piece.rows + kOpacityRow * kScenePiece;
    for (std::size_t i = 0; i < piece.count; ++i) {
        opacity[i] = LogitOfOpacity(std::clamp(opacity[i], 0.0F, 1.0F));
    }
    for (std::size_t row = kScaleRow; row < kScaleRow + 3; ++row) {
        float* const scale = piece.rows + row * kScenePiece;
        for (std::size_t i = 0; i < piece.count; ++i) {
            if (scale[i] < 0.0F) {
                throw std::runtime_error("it has negative scales, as drafts of the format had");
            }
            scale[i] = std::log(scale[i]);
        }
    }
    if (!primitive.placement.IsIdentity()) {
        primitive.placement.Place(degree, piece.count, kScenePiece, piece.rows);
    }
}

void DeliverGltf(const GltfScene& scene, const SceneInput& input, SceneSink& sink) {
    SceneFacts facts = {.camera = scene.camera};
    std::vector<std::size_t> ends;  // of the primitives, in the whole
    for (const GltfPrimitive& primitive : scene.primitives) {
        facts.count += primitive.count;
        facts.degree = std::max(facts.degree, primitive.degree);
        ends.push_back(facts.count);
    }
    const RowSigns signs = SignsOfRows(kGltfAxes, facts.degree);
    DeliverPieces(
        facts, sink, input.threads, [&](std::size_t first, std::size_t count, float* rows) {
            auto part =
                static_cast<std::size_t>(std::ranges::upper_bound(ends, first) - ends.begin());
            for (std::size_t done = 0; done < count; ++part) {
                const GltfPrimitive& primitive = scene.primitives[part];
                const std::size_t left = ends[part] - first - done;
                const GltfPiece piece = {primitive.count - left, std::min(left, count - done),
                                         rows + done};
                ReadPiece(primitive, facts.degree, piece);
                done += piece.count;
            }
            for (std::size_t row = 0; row < RawValues(facts.degree); ++row) {
                float* const values = rows + row * kScenePiece;
                for (std::size_t i = 0; i < count; ++i) values[i] *= signs[row];
            }
        });
}

}  // namespace

bool ReadGltf(const SceneInput& input, SceneSink& sink) {
    if (BeginsAsGlb(input.file)) {
        DeliverGltf(ParseGlb(input), input, sink);
        return true;
    }
    if (input.ending != ".gltf") return false;
    const std::string text = GltfText(input.file, 0, input.file.Size());
    DeliverGltf(ParseGltf(text, {}, input.folder), input, sink);
    return true;
}

}  // namespace vistrel
