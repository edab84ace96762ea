// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/ply.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/aligned_array.h"
#include "base/workers.h"
#include "formats/ply_header.h"
#include "formats/ply_values.h"
#include "formats/record_writer.h"

namespace vistrel {
namespace {

// The properties of RawGaussian, in its order.
constexpr std::array kGaussianProperties = {"x",      "y",       "z",       "f_dc_0",  "f_dc_1",
                                            "f_dc_2", "opacity", "scale_0", "scale_1", "scale_2",
                                            "rot_0",  "rot_1",   "rot_2",   "rot_3"};
static_assert(kGaussianProperties.size() == kRawValues);

constexpr std::string_view kRest = "f_rest_";

std::string NameOfRow(std::size_t row) {
    return row < kHarmonicsRow ? kGaussianProperties[row]
                               : std::string(kRest) + std::to_string(row - kHarmonicsRow);
}

// Reading.

// The properties of the vertices that make up Gaussians, in the order of raw values.
using PlyGaussianColumns = std::vector<PlyProperty>;

int PlyDegree(const PlyElement& vertices) {
    return DegreeOfRest(static_cast<std::size_t>(std::ranges::count_if(
        vertices.properties,
        [](const PlyProperty& property) { return property.name.starts_with(kRest); })));
}

PlyGaussianColumns FindGaussianColumns(const PlyElement& vertices, int degree) {
    PlyGaussianColumns columns;
    for (std::size_t row = 0; row < RawValues(degree); ++row) {
        const PlyProperty* const property = vertices.Find(NameOfRow(row));
        if (property == nullptr) {
            throw std::runtime_error("its vertices have no \"" + NameOfRow(row) +
                                     "\", which Gaussians have");
        }
        columns.push_back(*property);
    }
    return columns;
}

bool IsPositive(double value) {
    return std::isfinite(value) && value > 0.0;
}

PhotographCamera CameraOf(const std::vector<double>& intrinsic, const std::vector<double>& size) {
    const auto isSide = [](double value) {
        return value >= 1.0 && value <= std::numeric_limits<std::uint32_t>::max();
    };
    PhotographCamera camera;
    camera.focalX = static_cast<float>(intrinsic[0]);
    camera.focalY = static_cast<float>(intrinsic[4]);
    camera.centreX = static_cast<float>(intrinsic[2]);
    camera.centreY = static_cast<float>(intrinsic[5]);
    const bool usable = IsPositive(camera.focalX) && IsPositive(camera.focalY) &&
                        std::isfinite(camera.centreX) && std::isfinite(camera.centreY) &&
                        isSide(size[0]) && isSide(size[1]);
    if (!usable) throw std::runtime_error("the camera in the file is not usable");
    camera.width = static_cast<std::uint32_t>(size[0]);
    camera.height = static_cast<std::uint32_t>(size[1]);
    return camera;
}

// Knows a file's header and where its elements are.
class PlyFile {
  public:
    PlyFile(const InputFile& file, const PlyHeader& header)
        : file_(file), header_(header), vertices_(header.Find("vertex")) {
        if (vertices_ == nullptr) throw std::runtime_error("it has no vertices");
        if (vertices_->hasLists) throw std::runtime_error("its vertices have lists");
        if (vertices_->count > kMostGaussians)
            throw std::runtime_error("it has too many Gaussians");
        places_ = PlyElementPlaces(file, header, vertices_->name);
    }

    [[nodiscard]] const PlyElement& Vertices() const { return *vertices_; }
    [[nodiscard]] std::uint64_t VerticesPlace() const { return places_[IndexOf(*vertices_)]; }

    [[nodiscard]] std::optional<PhotographCamera> Camera() const {
        const std::vector<double> intrinsic = Numbers("intrinsic", 9);
        const std::vector<double> size = Numbers("image_size", 2);
        if (intrinsic.empty() || size.empty()) return {};
        return CameraOf(intrinsic, size);
    }

  private:
    [[nodiscard]] std::size_t IndexOf(const PlyElement& element) const {
        return static_cast<std::size_t>(&element - header_.elements.data());
    }

    // Of the element with that name. None where there is none of so many.
    [[nodiscard]] std::vector<double> Numbers(std::string_view name, std::size_t count) const {
        const PlyElement* const element = header_.Find(name);
        const bool isReached =
            element != nullptr && !element->hasLists && IndexOf(*element) < places_.size();
        if (!isReached) return {};
        return ReadPlyNumbers(file_, places_[IndexOf(*element)], *element, header_.isBigEndian,
                              count);
    }

    const InputFile& file_;
    const PlyHeader& header_;
    const PlyElement* vertices_;
    std::vector<std::uint64_t> places_;
};

// Hands over the Gaussians piece by piece, each through buffers that stay in the processor's cache.
class PlyGaussians {
  public:
    PlyGaussians(const InputFile& file, std::uint64_t place, const PlyElement& vertices,
                 const PlyGaussianColumns& columns, bool isBigEndian)
        : file_(file),
          place_(place),
          vertices_(vertices),
          columns_(columns),
          isBigEndian_(isBigEndian),
          pieceRecords_(std::clamp(kPieceBytes / vertices.bytes / kBlock * kBlock, kBlock,
                                   kMostPieceRecords)) {}

    void Deliver(SceneSink& sink, int threads) const {
        const auto count = static_cast<std::size_t>(vertices_.count);
        Workers workers(threads);
        std::vector<Buffers> buffers(static_cast<std::size_t>(workers.Count()));
        workers.Run((count + pieceRecords_ - 1) / pieceRecords_,
                    [&](std::size_t piece, int worker) {
                        const std::size_t first = piece * pieceRecords_;
                        DeliverPiece(first, std::min(pieceRecords_, count - first),
                                     buffers[static_cast<std::size_t>(worker)], sink);
                    });
    }

  private:
    static constexpr std::size_t kMostPieceRecords = 4096;
    static constexpr std::size_t kPieceBytes = std::size_t{1} << 20;
    static constexpr std::size_t kBlock = 256;

    struct Buffers {
        AlignedArray<std::byte> records;
        AlignedArray<float> rows;
    };

    void DeliverPiece(std::size_t first, std::size_t count, Buffers& buffers,
                      SceneSink& sink) const {
        buffers.records.Reserve(count * vertices_.bytes);
        buffers.rows.Reserve(columns_.size() * kBlock);
        file_.Read(place_ + std::uint64_t{first} * vertices_.bytes,
                   {buffers.records.data(), count * vertices_.bytes});
        for (std::size_t i = 0; i < count; i += kBlock) {
            const PlyRecords records = {buffers.records.data() + i * vertices_.bytes,
                                        std::min(kBlock, count - i), vertices_.bytes, isBigEndian_};
            Transpose(records, buffers.rows.data());
            sink.Take(first + i, records.count, {buffers.rows.data(), kBlock});
        }
    }

    void Transpose(const PlyRecords& records, float* rows) const {
        for (const PlyProperty& column : columns_) {
            ReadPlyColumn(records, column, rows);
            // The rest of the last block is looked at as well, though not drawn.
            std::fill(rows + records.count, rows + kBlock, 0.0F);
            rows += kBlock;
        }
    }

    const InputFile& file_;
    std::uint64_t place_;
    const PlyElement& vertices_;
    const PlyGaussianColumns& columns_;
    bool isBigEndian_;
    std::size_t pieceRecords_;  // a multiple of kBlock
};

// Writing.

constexpr std::size_t kNoRow = std::numeric_limits<std::size_t>::max();

struct PlyFloat {
    std::string name;
    std::size_t row = kNoRow;  // of the scene; none: 0
};

std::vector<PlyFloat> FloatsOfVertex(int degree) {
    std::vector<PlyFloat> floats;
    const auto add = [&floats](std::size_t row) { floats.push_back({NameOfRow(row), row}); };
    for (std::size_t row = kPositionRow; row < kColorRow; ++row) add(row);
    for (const char* const name : {"nx", "ny", "nz"}) floats.push_back({name});
    for (std::size_t row = kColorRow; row < kOpacityRow; ++row) add(row);
    for (std::size_t row = kHarmonicsRow; row < RawValues(degree); ++row) add(row);
    for (std::size_t row = kOpacityRow; row < kHarmonicsRow; ++row) add(row);
    return floats;
}

// Numbers of 4 bytes each.
template <typename T, std::size_t kCount>
void AddCameraElement(const char* name, const char* type, const std::array<T, kCount>& numbers,
                      std::string& header, std::string& bytes) {
    static_assert(sizeof(T) == 4);
    header += "element " + std::string(name) + " " + std::to_string(kCount) + "\nproperty " + type +
              " " + name + "\n";
    bytes.append(reinterpret_cast<const char*>(numbers.data()), sizeof(numbers));
}

struct CameraText {
    std::string header;
    std::string bytes;
};

CameraText TextOf(const std::optional<PhotographCamera>& camera) {
    if (!camera) return {};
    CameraText text;
    const std::array<float, 16> pose = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    const std::array<float, 9> intrinsic = {
        camera->focalX, 0, camera->centreX, 0, camera->focalY, camera->centreY, 0, 0, 1};
    const std::array<std::uint32_t, 2> size = {camera->width, camera->height};
    AddCameraElement("extrinsic", "float", pose, text.header, text.bytes);
    AddCameraElement("intrinsic", "float", intrinsic, text.header, text.bytes);
    AddCameraElement("image_size", "uint", size, text.header, text.bytes);
    return text;
}

}  // namespace

bool ReadPly(const SceneInput& input, SceneSink& sink) {
    const std::optional<PlyHeader> header = ReadPlyHeader(input.file);
    if (!header) return false;
    const PlyFile file(input.file, *header);
    const int degree = PlyDegree(file.Vertices());
    const PlyGaussianColumns columns = FindGaussianColumns(file.Vertices(), degree);
    sink.Begin({static_cast<std::size_t>(file.Vertices().count), degree, file.Camera()});
    PlyGaussians(input.file, file.VerticesPlace(), file.Vertices(), columns, header->isBigEndian)
        .Deliver(sink, input.threads);
    return true;
}

void WritePly(const RawScene& scene, const SceneWriteOptions& options, ByteSink& sink) {
    const std::vector<PlyFloat> floats = FloatsOfVertex(scene.Degree());
    const CameraText camera = TextOf(scene.Facts().camera);
    std::string header = "ply\nformat binary_little_endian 1.0\nelement vertex " +
                         std::to_string(scene.Count()) + "\n";
    for (const PlyFloat& value : floats) header += "property float " + value.name + "\n";
    sink.Append(header + camera.header + "end_header\n");
    const std::size_t recordBytes = floats.size() * sizeof(float);
    WriteRecords(scene.Count(), recordBytes, options.threads, sink,
                 [&](std::size_t first, std::size_t count, std::byte* records) {
                     for (const PlyFloat& value : floats) {
                         const bool isKnown = value.row != kNoRow;
                         const float* const from = isKnown ? scene.Row(value.row) + first : nullptr;
                         std::byte* to = records;
                         for (std::size_t i = 0; i < count; ++i, to += recordBytes) {
                             const float number = isKnown ? from[i] : 0.0F;
                             std::memcpy(to, &number, sizeof(number));
                         }
                         records += sizeof(float);
                     }
                 });
    sink.Append(camera.bytes);
}

}  // namespace vistrel
