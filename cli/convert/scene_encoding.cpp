// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/convert/scene_encoding.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <utility>

#include "base/text_encoding.h"
#include "cli/convert/scene_output.h"
#include "engine/decimation.h"
#include "engine/splat_ply.h"
#include "engine/splat_ply_format.h"

namespace vistrel {
namespace {

static_assert(kVertexFloats == kRawValues);

constexpr std::size_t kEncodedPiece = 1024;  // Gaussians

// Rows from `row` on get the components of one attribute.
void EncodeGroup(const VertexGroup& group, const GaussianSet& gaussians, const RawScene& scene,
                 std::size_t row) {
    const std::span<const float> all = (gaussians.*group.source).data;
    std::array<float, kEncodedPiece * 4> scratch{};
    for (std::size_t first = 0; first < scene.Count(); first += kEncodedPiece) {
        const std::size_t count = std::min(kEncodedPiece, scene.Count() - first);
        const auto linear = all.subspan(first * group.components, count * group.components);
        const float* const values = EncodedValues(group.encoding, linear, scratch.data()).data();
        for (std::size_t component = 0; component < group.components; ++component) {
            float* const to = scene.Row(row + component) + first;
            for (std::size_t i = 0; i < count; ++i) {
                to[i] = values[i * group.components + component];
            }
        }
    }
}

}  // namespace

RawScene EncodedScene(const GaussianSet& gaussians, float focalPx, std::uint32_t width,
                      std::uint32_t height) {
    const PhotographCamera camera = {
        focalPx, focalPx, static_cast<float>(width) * 0.5F, static_cast<float>(height) * 0.5F,
        width,   height};
    RawScene scene({.count = static_cast<std::size_t>(gaussians.count), .camera = camera});
    std::size_t row = 0;  // the groups stand in the order of RawGaussian
    for (const VertexGroup& group : kVertexGroups) {
        EncodeGroup(group, gaussians, scene, row);
        row += group.components;
    }
    return scene;
}

GaussianWriter WriterFor(const std::filesystem::path& output, const SceneWriteOptions& options,
                         std::function<void(std::size_t count)> onWritten) {
    if (IsForeignName(output)) {
        return [options, onWritten = std::move(onWritten)](
                   const GaussianSet& gaussians, const std::wstring& path, float focalPx,
                   std::uint32_t width, std::uint32_t height, float keepRatio) {
            const std::size_t count =
                SaveScene(EncodedScene(gaussians, focalPx, width, height), ToPath(path), keepRatio,
                          options, Durability::kOnDisk);
            if (onWritten) onWritten(count);
        };
    }
    if (!onWritten) return {};
    return [onWritten = std::move(onWritten)](
               const GaussianSet& gaussians, const std::wstring& path, float focalPx,
               std::uint32_t width, std::uint32_t height, float keepRatio) {
        WriteSplatPly(gaussians, path, focalPx, width, height, keepRatio);
        onWritten(static_cast<std::size_t>(
            keepRatio < 1.0F ? DecimatedCount(gaussians.count, keepRatio) : gaussians.count));
    };
}

}  // namespace vistrel
