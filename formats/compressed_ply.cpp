// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/compressed_ply.h"

#include <algorithm>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "base/workers.h"
#include "formats/morton_order.h"
#include "formats/packed_gaussian.h"
#include "formats/ply_header.h"
#include "formats/ply_values.h"
#include "formats/record_writer.h"
#include "formats/scene_values.h"

namespace vistrel {
namespace {

static_assert(kScenePiece % kPlyChunk == 0);

// An element's records in the file, and those of its properties that matter.
struct PackedElement {
    const PlyElement* element = nullptr;
    std::uint64_t place = 0;
    std::vector<PlyProperty> properties;
};

// Some records of it in memory.
class PackedRecords {
  public:
    PackedRecords(const InputFile& file, const PackedElement& from, std::size_t first,
                  std::size_t count, bool isBigEndian)
        : bytes_(count * from.element->bytes),
          records_{bytes_.data(), count, from.element->bytes, isBigEndian} {
        file.Read(from.place + std::uint64_t{first} * from.element->bytes, bytes_);
    }
    [[nodiscard]] const PlyRecords& Records() const { return records_; }

  private:
    std::vector<std::byte> bytes_;
    PlyRecords records_;
};

class CompressedPly {
  public:
    CompressedPly(const InputFile& file, const PlyHeader& header)
        : file_(file),
          header_(header),
          places_(Places(file, header)),
          vertices_(Required("vertex")),
          chunks_(Required("chunk")) {
        for (const char* const name : kPackedProperties) AddWord(name);
        FindRanges();
        FindHarmonics();
        const std::uint64_t count = vertices_.element->count;
        if (count > kMostGaussians) throw std::runtime_error("it has too many Gaussians");
        if (chunks_.element->count < (count + kPlyChunk - 1) / kPlyChunk) {
            throw std::runtime_error("it has " + std::to_string(chunks_.element->count) +
                                     " chunks, too few for " + std::to_string(count) +
                                     " Gaussians");
        }
        if (harmonics_ && harmonics_->element->count != count) {
            throw std::runtime_error("it has " + std::to_string(count) + " Gaussians, but " +
                                     std::to_string(harmonics_->element->count) +
                                     " of them have harmonics");
        }
    }

    [[nodiscard]] SceneFacts Facts() const {
        return {static_cast<std::size_t>(vertices_.element->count), degree_, {}};
    }

    void Decode(std::size_t first, std::size_t count, float* rows) const {
        DecodeGaussians(first, count, rows);
        if (harmonics_) DecodeHarmonics(first, count, rows);
    }

  private:
    [[noreturn]] static void RefuseLists() {
        throw std::runtime_error("it has lists among its Gaussians");
    }

    [[nodiscard]] static std::vector<std::uint64_t> Places(const InputFile& file,
                                                           const PlyHeader& header) {
        for (const char* const name : {"chunk", "vertex", "sh"}) {
            const PlyElement* const element = header.Find(name);
            if (element != nullptr && element->hasLists) RefuseLists();
        }
        return PlyElementPlaces(file, header, "vertex");
    }

    [[nodiscard]] std::optional<PackedElement> Placed(const char* name) const {
        const PlyElement* const element = header_.Find(name);
        if (element == nullptr) return {};
        const auto index = static_cast<std::size_t>(element - header_.elements.data());
        if (index >= places_.size()) RefuseLists();
        return PackedElement{element, places_[index], {}};
    }

    [[nodiscard]] PackedElement Required(const char* name) const {
        std::optional<PackedElement> found = Placed(name);
        if (!found) throw std::runtime_error(std::string("it has no element \"") + name + "\"");
        return *std::move(found);
    }

    [[nodiscard]] static const PlyProperty& PropertyOf(const PackedElement& element,
                                                       const std::string& name) {
        const PlyProperty* const property = element.element->Find(name);
        if (property != nullptr) return *property;
        throw std::runtime_error("its element \"" + element.element->name + "\" has no \"" + name +
                                 "\"");
    }

    void AddWord(const char* name) {
        const PlyProperty property = PropertyOf(vertices_, name);
        if (property.type != PlyType::UInt32 && property.type != PlyType::Int32) {
            throw std::runtime_error(std::string("its \"") + name + "\" is not of 32 bits");
        }
        vertices_.properties.push_back(property);
    }

    void FindRanges() {
        const bool hasColors = chunks_.element->Find(kChunkProperties[kColorRange]) != nullptr;
        for (const char* const name :
             std::span(kChunkProperties).first(hasColors ? kChunkProperties.size() : kColorRange)) {
            chunks_.properties.push_back(PropertyOf(chunks_, name));
        }
    }

    void FindHarmonics() {
        harmonics_ = Placed("sh");
        if (!harmonics_) return;
        const std::size_t rest = harmonics_->element->properties.size();
        degree_ = DegreeOfRest(rest);
        for (std::size_t i = 0; i < rest; ++i) {
            const std::string name = "f_rest_" + std::to_string(i);
            harmonics_->properties.push_back(PropertyOf(*harmonics_, name));
            if (harmonics_->properties.back().type != PlyType::UInt8) {
                throw std::runtime_error("its \"" + name + "\" is not a byte");
            }
        }
    }

    // Those of the chunks from the one of Gaussian `first` on.
    [[nodiscard]] std::vector<ChunkRanges> Ranges(std::size_t first, std::size_t count) const {
        const std::size_t chunks = (count + kPlyChunk - 1) / kPlyChunk;
        const PackedRecords records(file_, chunks_, first / kPlyChunk, chunks, header_.isBigEndian);
        ChunkRanges plain{};
        std::fill(plain.begin() + kColorRange + 3, plain.end(), 1.0F);
        std::vector<ChunkRanges> ranges(chunks, plain);
        std::vector<float> values(chunks);
        for (std::size_t k = 0; k < chunks_.properties.size(); ++k) {
            ReadPlyColumn(records.Records(), chunks_.properties[k], values.data());
            for (std::size_t i = 0; i < chunks; ++i) ranges[i][k] = values[i];
        }
        return ranges;
    }

    void DecodeGaussians(std::size_t first, std::size_t count, float* rows) const {
        const std::vector<ChunkRanges> ranges = Ranges(first, count);
        const PackedRecords records(file_, vertices_, first, count, header_.isBigEndian);
        std::vector<PackedGaussian> packed(count);
        std::vector<std::uint32_t> words(count);
        for (std::size_t k = 0; k < kPackedProperties.size(); ++k) {
            ReadPlyWords(records.Records(), vertices_.properties[k], words.data());
            for (std::size_t i = 0; i < count; ++i) packed[i][k] = words[i];
        }
        for (std::size_t i = 0; i < count; ++i) {
            SetGaussian(UnpackGaussian(packed[i], ranges[i / kPlyChunk]), rows + i, kScenePiece);
        }
    }

    void DecodeHarmonics(std::size_t first, std::size_t count, float* rows) const {
        const PackedRecords records(file_, *harmonics_, first, count, header_.isBigEndian);
        for (std::size_t k = 0; k < harmonics_->properties.size(); ++k) {
            float* const row = rows + (kHarmonicsRow + k) * kScenePiece;
            const std::byte* from = records.Records().data + harmonics_->properties[k].offset;
            for (std::size_t i = 0; i < count; ++i, from += harmonics_->element->bytes) {
                row[i] = HarmonicOfByte(std::to_integer<std::uint8_t>(*from));
            }
        }
    }

    const InputFile& file_;
    const PlyHeader& header_;
    std::vector<std::uint64_t> places_;
    PackedElement vertices_;
    PackedElement chunks_;
    std::optional<PackedElement> harmonics_;
    int degree_ = 0;
};

// Writing.

std::string CompressedHeader(std::size_t count, std::size_t chunks, std::size_t harmonics) {
    std::string header = "ply\nformat binary_little_endian 1.0\n";
    const auto element = [&header](const char* name, std::size_t records) {
        header += "element " + std::string(name) + " " + std::to_string(records) + "\n";
    };
    const auto property = [&header](const std::string& text) {
        header += "property " + text + "\n";
    };
    element("chunk", chunks);
    for (const char* const name : kChunkProperties) property("float " + std::string(name));
    element("vertex", count);
    for (const char* const name : kPackedProperties) property("uint " + std::string(name));
    if (harmonics > 0) element("sh", count);
    for (std::size_t i = 0; i < harmonics; ++i) property("uchar f_rest_" + std::to_string(i));
    return header + "end_header\n";
}

void WriteHarmonics(const RawScene& scene, std::span<const std::uint32_t> order, int threads,
                    ByteSink& sink) {
    const std::size_t harmonics = RawValues(scene.Degree()) - kRawValues;
    if (harmonics == 0) return;
    WriteRecords(scene.Count(), harmonics, threads, sink,
                 [&](std::size_t first, std::size_t count, std::byte* records) {
                     for (std::size_t k = 0; k < harmonics; ++k) {
                         const float* const from = scene.Row(kHarmonicsRow + k);
                         for (std::size_t i = 0; i < count; ++i) {
                             records[i * harmonics + k] =
                                 std::byte{ByteOfHarmonic(from[order[first + i]])};
                         }
                     }
                 });
}

}  // namespace

bool ReadCompressedPly(const SceneInput& input, SceneSink& sink) {
    const std::optional<PlyHeader> header = ReadPlyHeader(input.file);
    if (!header) return false;
    const PlyElement* const vertices = header->Find("vertex");
    if (vertices == nullptr || vertices->Find(kPackedProperties[0]) == nullptr) return false;
    const CompressedPly file(input.file, *header);
    DeliverPieces(file.Facts(), sink, input.threads,
                  [&file](std::size_t first, std::size_t count, float* rows) {
                      file.Decode(first, count, rows);
                  });
    return true;
}

void WriteCompressedPly(const RawScene& scene, const SceneWriteOptions& options, ByteSink& sink) {
    const std::vector<std::uint32_t> order = MortonOrder(scene);
    std::vector<ChunkRanges> ranges((scene.Count() + kPlyChunk - 1) / kPlyChunk);
    std::vector<PackedGaussian> packed(scene.Count());
    Workers(options.threads).Run(ranges.size(), [&](std::size_t chunk, int /*worker*/) {
        const std::size_t first = chunk * kPlyChunk;
        const std::size_t count = std::min(kPlyChunk, scene.Count() - first);
        const ChunkPacker packer(scene, std::span(order).subspan(first, count));
        ranges[chunk] = packer.Ranges();
        for (std::size_t i = 0; i < count; ++i) packed[first + i] = packer.Packed(i);
    });
    const std::size_t harmonics = RawValues(scene.Degree()) - kRawValues;
    sink.Append(CompressedHeader(scene.Count(), ranges.size(), harmonics));
    sink.Append(std::as_bytes(std::span(ranges)));
    sink.Append(std::as_bytes(std::span(packed)));
    WriteHarmonics(scene, order, options.threads, sink);
}

}  // namespace vistrel
