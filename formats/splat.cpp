// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/splat.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <span>
#include <stdexcept>
#include <vector>

#include "formats/record_writer.h"
#include "formats/scene_values.h"

namespace vistrel {
namespace {

static_assert(std::endian::native == std::endian::little, "values are kept as they lie in files");

struct SplatRecord {
    std::array<float, 3> position;
    std::array<float, 3> scale;
    std::array<std::uint8_t, 3> color;
    std::uint8_t opacity;
    std::array<std::uint8_t, 4> rotation;
};
static_assert(sizeof(SplatRecord) == 32);

constexpr int kSplatBits = 8;
constexpr float kRotationZero = 128.0F;

RawGaussian GaussianOf(const SplatRecord& record) {
    RawGaussian gaussian{};
    gaussian.position = record.position;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        gaussian.logScale[axis] = std::log(record.scale[axis]);
        gaussian.colorDc[axis] = DcOfSrgb(Unquantised(record.color[axis], kSplatBits));
    }
    gaussian.opacityLogit = LogitOfOpacity(Unquantised(record.opacity, kSplatBits));
    for (std::size_t k = 0; k < 4; ++k) {
        gaussian.rotation[k] =
            (static_cast<float>(record.rotation[k]) - kRotationZero) / kRotationZero;
    }
    return gaussian;
}

std::uint8_t SplatByte(float value) {
    return static_cast<std::uint8_t>(Quantised(static_cast<double>(value), kSplatBits));
}

SplatRecord RecordOf(const RawScene& scene, std::size_t place) {
    SplatRecord record{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        record.position[axis] = scene.Row(kPositionRow + axis)[place];
        record.scale[axis] = std::min(std::exp(scene.Row(kScaleRow + axis)[place]),
                                      std::numeric_limits<float>::max());
        record.color[axis] = SplatByte(SrgbOfDc(scene.Row(kColorRow + axis)[place]));
    }
    record.opacity = SplatByte(OpacityOfLogit(scene.Row(kOpacityRow)[place]));
    const std::array<double, 4> rotation = UnitRotation(scene, place);
    for (std::size_t k = 0; k < rotation.size(); ++k) {
        const double byte = std::round(rotation[k] * kRotationZero + kRotationZero);
        record.rotation[k] = static_cast<std::uint8_t>(std::min(byte, 255.0));
    }
    return record;
}

// The places of all Gaussians by volume times opacity, the largest first; equal ones keep their
// order.
std::vector<std::uint32_t> OrderOfImportance(const RawScene& scene) {
    struct RankedPlace {
        float importance;  // its logarithm
        std::uint32_t place;
    };
    std::vector<RankedPlace> ranked(scene.Count());
    for (std::size_t i = 0; i < ranked.size(); ++i) {
        float sum = std::log(OpacityOfLogit(scene.Row(kOpacityRow)[i]));
        for (std::size_t axis = 0; axis < 3; ++axis) sum += scene.Row(kScaleRow + axis)[i];
        ranked[i] = {sum, static_cast<std::uint32_t>(i)};
    }
    std::ranges::sort(ranked, [](const RankedPlace& a, const RankedPlace& b) {
        return a.importance != b.importance ? a.importance > b.importance : a.place < b.place;
    });
    std::vector<std::uint32_t> order(ranked.size());
    std::ranges::transform(ranked, order.begin(), &RankedPlace::place);
    return order;
}

}  // namespace

bool ReadSplat(const SceneInput& input, SceneSink& sink) {
    if (input.ending != ".splat") return false;
    const std::uint64_t size = input.file.Size();
    if (size == 0) throw std::runtime_error("it is empty");
    if (size % sizeof(SplatRecord) != 0) {
        throw std::runtime_error(
            "its size is not a multiple of 32 bytes, so it is cut short or no "
            ".splat file");
    }
    const std::uint64_t count = size / sizeof(SplatRecord);
    if (count > kMostGaussians) throw std::runtime_error("it has too many Gaussians");
    DeliverPieces({static_cast<std::size_t>(count), 0, {}}, sink, input.threads,
                  [&input](std::size_t first, std::size_t inPiece, float* rows) {
                      std::vector<SplatRecord> records(inPiece);
                      input.file.Read(std::uint64_t{first} * sizeof(SplatRecord),
                                      std::as_writable_bytes(std::span(records)));
                      for (std::size_t i = 0; i < inPiece; ++i) {
                          SetGaussian(GaussianOf(records[i]), rows + i, kScenePiece);
                      }
                  });
    return true;
}

void WriteSplat(const RawScene& scene, const SceneWriteOptions& options, ByteSink& sink) {
    const std::vector<std::uint32_t> order = OrderOfImportance(scene);
    WriteRecords(scene.Count(), sizeof(SplatRecord), options.threads, sink,
                 [&](std::size_t first, std::size_t count, std::byte* records) {
                     for (std::size_t i = 0; i < count; ++i) {
                         const SplatRecord record = RecordOf(scene, order[first + i]);
                         std::memcpy(records + i * sizeof(record), &record, sizeof(record));
                     }
                 });
}

}  // namespace vistrel
