// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/scene_ply.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/aligned_array.h"
#include "base/input_file.h"
#include "base/workers.h"
#include "formats/ply_header.h"
#include "render/gaussian_packing.h"

namespace vistrel {
namespace {

static_assert(std::endian::native == std::endian::little, "values are read as they lie in files");

// The properties of RawGaussian, in its order.
constexpr std::array kProperties = {"x",      "y",       "z",       "f_dc_0",  "f_dc_1",
                                    "f_dc_2", "opacity", "scale_0", "scale_1", "scale_2",
                                    "rot_0",  "rot_1",   "rot_2",   "rot_3"};
static_assert(kProperties.size() == kRawValues);

// Where the values of Gaussians lie in the file.
struct VertexLayout {
    std::uint64_t begin = 0;
    std::size_t count = 0;
    std::size_t recordBytes = 0;
    int degree = 0;
    std::vector<std::size_t> offsets;  // within a record, in the order of raw values
};

std::size_t OffsetOf(const PlyElement& vertices, const std::string& name) {
    const PlyProperty* const property = vertices.Find(name);
    if (property == nullptr || property->type != PlyType::Float) {
        throw std::runtime_error("not a PLY file of Gaussians: there is no float \"" + name + "\"");
    }
    return property->offset;
}

int DegreeOf(const PlyElement& vertices) {
    const auto rest = static_cast<std::size_t>(std::ranges::count_if(
        vertices.properties,
        [](const PlyProperty& property) { return property.name.starts_with("f_rest_"); }));
    for (int degree = 0; degree <= kMostHarmonicsDegree; ++degree) {
        if (rest == RawValues(degree) - kRawValues) return degree;
    }
    throw std::runtime_error("the file has " + std::to_string(rest) +
                             " coefficients f_rest, not 0, 9, 24 or 45");
}

void FindValues(const PlyElement& vertices, VertexLayout& layout) {
    if (vertices.count > kMostGaussians) throw std::runtime_error("it has too many Gaussians");
    layout.count = static_cast<std::size_t>(vertices.count);
    layout.recordBytes = vertices.bytes;
    layout.degree = DegreeOf(vertices);
    for (const char* const name : kProperties) layout.offsets.push_back(OffsetOf(vertices, name));
    for (std::size_t i = kRawValues; i < RawValues(layout.degree); ++i) {
        layout.offsets.push_back(OffsetOf(vertices, "f_rest_" + std::to_string(i - kRawValues)));
    }
}

// Where the elements of interest begin.
struct FileLayout {
    std::optional<VertexLayout> vertices;
    std::uint64_t intrinsic = 0;  // 0: not there
    std::uint64_t imageSize = 0;
    std::uint64_t end = 0;  // of what the header tells of, up to the first list
};

FileLayout LayoutOf(const PlyHeader& header) {
    FileLayout layout;
    layout.end = header.bytes;
    for (const PlyElement& element : header.elements) {
        if (element.hasLists) break;
        if (element.name == "vertex" && !layout.vertices) {
            layout.vertices.emplace();
            layout.vertices->begin = layout.end;
            FindValues(element, *layout.vertices);
        }
        const std::uint64_t bytes = element.count * element.bytes;
        constexpr std::uint64_t kIntrinsicBytes = 36;
        constexpr std::uint64_t kSizeBytes = 8;
        if (element.name == "intrinsic" && bytes == kIntrinsicBytes) layout.intrinsic = layout.end;
        if (element.name == "image_size" && bytes == kSizeBytes) layout.imageSize = layout.end;
        layout.end += bytes;
    }
    if (!layout.vertices) {
        throw std::runtime_error("not a PLY file of Gaussians: there are no vertices");
    }
    return layout;
}

PhotographCamera ReadCamera(const InputFile& file, const FileLayout& layout) {
    std::array<float, 9> intrinsic{};
    std::array<std::uint32_t, 2> size{};
    file.Read(layout.intrinsic, std::as_writable_bytes(std::span(intrinsic)));
    file.Read(layout.imageSize, std::as_writable_bytes(std::span(size)));
    const PhotographCamera camera = {intrinsic[0], intrinsic[4], intrinsic[2],
                                     intrinsic[5], size[0],      size[1]};
    const auto isLength = [](float value) { return std::isfinite(value) && value > 0.0F; };
    const bool usable = isLength(camera.focalX) && isLength(camera.focalY) &&
                        std::isfinite(camera.centreX) && std::isfinite(camera.centreY) &&
                        camera.width > 0 && camera.height > 0;
    if (!usable) throw std::runtime_error("the camera in the file is not usable");
    return camera;
}

// Reads the Gaussians piece by piece, each through a buffer that stays in the processor's cache.
class SceneReader {
  public:
    SceneReader(const InputFile& file, const VertexLayout& layout, const GaussianScene& scene)
        : file_(file), layout_(layout), scene_(scene) {}

    [[nodiscard]] std::size_t Pieces() const {
        return (layout_.count + kPieceRecords - 1) / kPieceRecords;
    }

    void Read(std::size_t piece) const {
        const std::size_t first = piece * kPieceRecords;
        const std::size_t count = std::min(kPieceRecords, layout_.count - first);
        AlignedArray<std::byte> records(count * layout_.recordBytes);
        AlignedArray<float> rows(layout_.offsets.size() * kBlock);
        file_.Read(layout_.begin + std::uint64_t{first} * layout_.recordBytes,
                   {records.data(), records.size()});
        for (std::size_t i = 0; i < count; i += kBlock) {
            const std::size_t inBlock = std::min(kBlock, count - i);
            Transpose(records.data() + i * layout_.recordBytes, inBlock, rows.data());
            PackGaussians({rows.data(), kBlock}, inBlock, scene_.Planes(), first + i);
        }
    }

  private:
    static constexpr std::size_t kPieceRecords = 4096;
    static constexpr std::size_t kBlock = 256;

    void Transpose(const std::byte* records, std::size_t count, float* rows) const {
        for (const std::size_t offset : layout_.offsets) {
            const std::byte* from = records + offset;
            for (std::size_t i = 0; i < count; ++i, from += layout_.recordBytes) {
                std::memcpy(rows + i, from, sizeof(float));
            }
            // The rest of the last block is packed as well, though not drawn.
            std::fill(rows + count, rows + kBlock, 0.0F);
            rows += kBlock;
        }
    }

    const InputFile& file_;
    const VertexLayout& layout_;
    const GaussianScene& scene_;
};

}  // namespace

SceneFile ReadScenePly(const std::filesystem::path& path, int threads) {
    const InputFile file(path);
    std::string start(
        static_cast<std::size_t>(std::min<std::uint64_t>(file.Size(), kLongestPlyHeader)), '\0');
    file.Read(0, std::as_writable_bytes(std::span(start)));
    const PlyHeader header = ParsePlyHeader(start);
    if (header.isBigEndian) throw std::runtime_error("it is not in little-endian order");
    const FileLayout layout = LayoutOf(header);
    if (file.Size() < layout.end) {
        throw std::runtime_error("the file has " + std::to_string(file.Size()) +
                                 " bytes, but its header tells of " + std::to_string(layout.end));
    }
    SceneFile result;
    if (layout.intrinsic > 0 && layout.imageSize > 0) result.camera = ReadCamera(file, layout);
    result.scene = GaussianScene(layout.vertices->count, layout.vertices->degree);
    const SceneReader reader(file, *layout.vertices, result.scene);
    Workers(threads).Run(reader.Pieces(),
                         [&](std::size_t piece, int /*worker*/) { reader.Read(piece); });
    return result;
}

}  // namespace vistrel
