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

#include "base/workers.h"
#include "formats/place_order.h"
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
        const auto byte = static_cast<float>(rotation[k]) * kRotationZero + kRotationZero;
        record.rotation[k] = SplatByte(byte / UINT8_MAX);
    }
    return record;
}

// Volume times opacity as a number, the smaller the more there is of it.
std::uint32_t UnimportanceKey(const SplatRecord& record, float logit) {
    const float importance =
        record.scale[0] * record.scale[1] * record.scale[2] * OpacityOfLogit(logit);
    // The bits of positive numbers order as they are; infinity times 0 is not a number.
    return importance > 0.0F ? ~std::bit_cast<std::uint32_t>(importance) : UINT32_MAX;
}

// Records of all Gaussians, and the keys that sort them. To make records where they come to lie
// would be slow: every value of a Gaussian is far from the others.
struct SplatRecords {
    explicit SplatRecords(std::size_t count) : records(count), keys(count) {}

    std::vector<SplatRecord> records;
    std::vector<std::uint32_t> keys;
};

SplatRecords RecordsOf(const RawScene& scene, int threads) {
    SplatRecords all(scene.Count());
    const float* const logits = scene.Row(kOpacityRow);
    Workers(threads).Run((scene.Count() + kScenePiece - 1) / kScenePiece,
                         [&](std::size_t piece, int /*worker*/) {
                             const std::size_t first = piece * kScenePiece;
                             const std::size_t end = std::min(first + kScenePiece, scene.Count());
                             for (std::size_t i = first; i < end; ++i) {
                                 all.records[i] = RecordOf(scene, i);
                                 all.keys[i] = UnimportanceKey(all.records[i], logits[i]);
                             }
                         });
    return all;
}

}  // namespace

bool ReadSplat(const SceneInput& input, SceneSink& sink) {
    if (input.ending != ".splat") return false;
    const std::uint64_t size = input.file.Size();
    if (size == 0) throw std::runtime_error("it is empty");
    if (size % sizeof(SplatRecord) != 0) {
        throw std::runtime_error(
            "its size is not a multiple of 32 bytes: it is cut short or no .splat file");
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
    const SplatRecords all = RecordsOf(scene, options.threads);
    const std::vector<std::uint32_t> order = PlacesByKey(all.keys);
    WriteRecords(scene.Count(), sizeof(SplatRecord), options.threads, sink,
                 [&](std::size_t first, std::size_t count, std::byte* records) {
                     for (std::size_t i = 0; i < count; ++i, records += sizeof(SplatRecord)) {
                         std::memcpy(records, &all.records[order[first + i]], sizeof(SplatRecord));
                     }
                 });
}

}  // namespace vistrel
