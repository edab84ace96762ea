// SPDX-License-Identifier: GPL-3.0-or-later
// What the JSON text of a glTF file says about its Gaussians; formats/gltf.h says how.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

#include "formats/gltf_buffers.h"
#include "formats/placement.h"
#include "formats/raw_scene.h"

namespace vistrel {

// glTF's numbers for them.
enum class GltfType : std::uint16_t {
    Byte = 5120,
    UnsignedByte = 5121,
    Short = 5122,
    UnsignedShort = 5123,
    Float = 5126
};

[[nodiscard]] constexpr std::size_t GltfTypeBytes(GltfType type) {
    if (type == GltfType::Float) return 4;
    return type == GltfType::Byte || type == GltfType::UnsignedByte ? 1 : 2;
}

// An attribute of all Gaussians of a primitive.
struct GltfAccessor {
    const InputFile* file = nullptr;
    std::uint64_t offset = 0;  // in the file, of the first Gaussian's
    std::size_t stride = 0;    // bytes from one Gaussian's to the next
    std::size_t components = 0;
    GltfType type = GltfType::Float;
    bool isNormalized = false;
    std::size_t count = 0;
};

struct GltfPrimitive {
    std::size_t count = 0;
    int degree = 0;
    Placement placement;
    GltfAccessor position;
    GltfAccessor rotation;
    GltfAccessor scale;
    GltfAccessor opacity;
    std::array<GltfAccessor, HarmonicsCount(kMostHarmonicsDegree)> harmonics = {};
};

struct GltfScene {
    GltfBufferFiles files;  // but the file itself
    std::vector<GltfPrimitive> primitives;
    std::optional<PhotographCamera> camera;
};

// `glb` is the buffer of a .glb file, whose file outlives the scene; `folder` is where further
// files are. Throws std::runtime_error with what is wrong, and std::bad_alloc. Any thread.
[[nodiscard]] GltfScene ParseGltf(std::string_view json, const std::optional<GltfBuffer>& glb,
                                  const std::filesystem::path& folder);

}  // namespace vistrel
