// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/sog.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/workers.h"
#include "formats/sog_meta.h"
#include "formats/webp_pictures.h"
#include "formats/zip_archive.h"

namespace vistrel {
namespace {

// See formats/sog.h.
constexpr std::uint64_t kMostMemoryPerByte = 1024;
constexpr std::size_t kMostRowsLeft = 4;

constexpr std::size_t kMostMetaBytes = std::size_t{256} << 10;
constexpr std::size_t kPaletteRow = 64;  // entries
constexpr std::size_t kMostPaletteRows = 1024;

[[noreturn]] void RefuseSog(const std::string& reason) {
    throw std::runtime_error(reason);
}

// meta.json, which also may lie in a folder of the archive, with the pictures. Null where there is
// none.
const ZipEntry* FindMeta(const ZipArchive& archive) {
    const auto isMeta = [](const ZipEntry& entry) {
        const std::size_t slash = entry.name.rfind('/');
        const std::size_t name = slash == std::string::npos ? 0 : slash + 1;
        return std::string_view(entry.name).substr(name) == kSogMetaName;
    };
    const auto found = std::ranges::find_if(archive.Entries(), isMeta);
    return found == archive.Entries().end() ? nullptr : &*found;
}

// A SOG file while it is read.
struct OpenSog {
    const ZipArchive& archive;
    std::string folder;  // with its slash
    std::uint64_t fileBytes = 0;
    SogMeta meta;

    // Refuses what the file's size does not explain.
    void Explain(std::uint64_t bytes) const {
        if (bytes / kMostMemoryPerByte > fileBytes) {
            RefuseSog("it claims more than a file of its size can hold");
        }
    }

    [[nodiscard]] std::vector<std::byte> Packed(const std::string& name) const {
        const ZipEntry* const entry = archive.Find(folder + name);
        if (entry == nullptr) RefuseSog("one of its pictures is missing");
        return archive.Content(*entry, entry->contentBytes);
    }

    // A picture with a pixel for each Gaussian.
    [[nodiscard]] NumberPicture Picture(const std::string& name) const {
        const std::vector<std::byte> packed = Packed(name);
        const PictureSize size = WebpPictureSize(packed);
        if (size.Pixels() < meta.count) {
            RefuseSog("one of its pictures is too small for its " + std::to_string(meta.count) +
                      " Gaussians");
        }
        if (size.Pixels() > 2 * meta.count + kMostRowsLeft * size.width) {
            RefuseSog("one of its pictures is too large for its " + std::to_string(meta.count) +
                      " Gaussians");
        }
        Explain(size.Pixels() * kPixelChannels);
        return DecodedWebp(packed);
    }

    // The palette of harmonics.
    [[nodiscard]] NumberPicture Palette(const std::string& name) const {
        const std::vector<std::byte> packed = Packed(name);
        const PictureSize size = WebpPictureSize(packed);
        if (size.height > kMostPaletteRows) RefuseSog("its palette of harmonics is too large");
        Explain(size.Pixels() * kPixelChannels);
        return DecodedWebp(packed);
    }
};

struct Pictures {
    NumberPicture lowPositions;
    NumberPicture highPositions;
    NumberPicture scales;
    NumberPicture rotations;
    NumberPicture colors;
    NumberPicture palette;  // these two only with harmonics
    NumberPicture labels;
};

Pictures ReadPictures(const OpenSog& sog, int threads) {
    Pictures pictures;
    const std::array<std::pair<const std::string&, NumberPicture&>, 5> always = {{
        {sog.meta.lowPositions, pictures.lowPositions},
        {sog.meta.highPositions, pictures.highPositions},
        {sog.meta.scalesPicture, pictures.scales},
        {sog.meta.rotationsPicture, pictures.rotations},
        {sog.meta.colorsPicture, pictures.colors},
    }};
    const std::size_t count = always.size() + (sog.meta.harmonics ? 2 : 0);
    Workers(threads).Run(count, [&](std::size_t piece, int) {
        if (piece < always.size()) {
            always[piece].second = sog.Picture(always[piece].first);
        } else if (piece == always.size()) {
            pictures.labels = sog.Picture(sog.meta.harmonics->labelsPicture);
        } else {
            pictures.palette = sog.Palette(sog.meta.harmonics->palettePicture);
        }
    });
    return pictures;
}

// The palette's degree, which its width tells, and its number of entries.
struct PaletteShape {
    int degree = 0;
    std::size_t coefficients = 0;  // of each colour
    std::size_t entries = 0;
};

PaletteShape ShapeOf(const SogHarmonics& harmonics, const PictureSize& size) {
    PaletteShape shape;
    for (int degree = 1; degree <= kMostHarmonicsDegree; ++degree) {
        if (size.width == kPaletteRow * (HarmonicsCount(degree) - 1)) shape.degree = degree;
    }
    if (shape.degree == 0 || shape.degree != harmonics.degree.value_or(shape.degree)) {
        RefuseSog("its palette of harmonics has the wrong width");
    }
    shape.coefficients = HarmonicsCount(shape.degree) - 1;
    const std::size_t room = kPaletteRow * size.height;
    shape.entries = harmonics.paletteSize.value_or(room);
    if (shape.entries > room) RefuseSog("its palette of harmonics is cut short");
    return shape;
}

// Rows of a piece of the scene, and the picture's place where it begins.
class PieceDecoder {
  public:
    PieceDecoder(const SogMeta& meta, const Pictures& pictures,
                 const std::optional<PaletteShape>& palette)
        : meta_(meta), pictures_(pictures), palette_(palette) {}

    void operator()(std::size_t first, std::size_t count, float* rows) const {
        for (std::size_t i = 0; i < count; ++i) {
            DecodePosition(first + i, rows + i);
            DecodeScaleAndColor(first + i, rows + i);
            DecodeRotation(first + i, rows + i);
            if (palette_) DecodeHarmonics(first + i, rows + i);
        }
    }

  private:
    static float& Value(float* rows, std::size_t row) { return rows[row * kScenePiece]; }

    void DecodePosition(std::size_t place, float* rows) const {
        const std::uint8_t* const low = pictures_.lowPositions.Pixel(place);
        const std::uint8_t* const high = pictures_.highPositions.Pixel(place);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double share = (low[axis] + (256.0 * high[axis])) / 65535.0;
            const double stored = meta_.positionMins[axis] +
                                  ((meta_.positionMaxs[axis] - meta_.positionMins[axis]) * share);
            Value(rows, kPositionRow + axis) = static_cast<float>(
                std::copysign(std::min(std::expm1(std::abs(stored)), kMostPosition), stored));
        }
    }

    void DecodeScaleAndColor(std::size_t place, float* rows) const {
        const std::uint8_t* const scale = pictures_.scales.Pixel(place);
        const std::uint8_t* const color = pictures_.colors.Pixel(place);
        for (std::size_t i = 0; i < 3; ++i) {
            Value(rows, kScaleRow + i) = meta_.logScales[i][scale[i]];
            Value(rows, kColorRow + i) = meta_.colors[i][color[i]];
        }
        Value(rows, kOpacityRow) = meta_.colors[3][color[3]];
    }

    // Without a turn where the largest component is not told.
    void DecodeRotation(std::size_t place, float* rows) const {
        const std::uint8_t* const rotation = pictures_.rotations.Pixel(place);
        const std::size_t largest = std::max<std::size_t>(rotation[3], kFirstTag) - kFirstTag;
        const bool isTold = rotation[3] >= kFirstTag;
        float left = 1.0F;
        const std::uint8_t* next = rotation;
        for (std::size_t i = 0; i < 4; ++i) {
            if (i == largest) continue;
            constexpr float kSqrt2 = 1.41421356F;
            const float value =
                isTold ? ((static_cast<float>(*next++) / 255.0F) - 0.5F) * kSqrt2 : 0.0F;
            Value(rows, kRotationRow + i) = value;
            left -= value * value;
        }
        Value(rows, kRotationRow + largest) = std::sqrt(std::max(left, 0.0F));
    }

    // None where the label names no entry.
    void DecodeHarmonics(std::size_t place, float* rows) const {
        const std::uint8_t* const bytes = pictures_.labels.Pixel(place);
        const std::size_t label = bytes[0] + (std::size_t{256} * bytes[1]);
        const bool isThere = label < palette_->entries;
        const std::size_t coefficients = palette_->coefficients;
        const std::uint8_t* const entry =
            pictures_.palette.Pixel(isThere ? label * coefficients : 0);
        for (std::size_t i = 0; i < coefficients; ++i) {
            for (std::size_t channel = 0; channel < 3; ++channel) {
                const std::uint8_t byte = entry[(i * kPixelChannels) + channel];
                Value(rows, kHarmonicsRow + (channel * coefficients) + i) =
                    isThere ? meta_.harmonics->values[byte] : 0.0F;
            }
        }
    }

    static constexpr std::size_t kFirstTag = 252;
    static constexpr double kMostPosition = std::numeric_limits<float>::max();

    const SogMeta& meta_;
    const Pictures& pictures_;
    const std::optional<PaletteShape>& palette_;
};

}  // namespace

bool ReadSog(const SceneInput& input, SceneSink& sink) {
    if (!ZipArchive::IsOne(input.file)) return false;
    const ZipArchive archive(input.file);
    const ZipEntry* const entry = FindMeta(archive);
    if (entry == nullptr) return false;
    const OpenSog sog = {
        .archive = archive,
        .folder = entry->name.substr(0, entry->name.size() - kSogMetaName.size()),
        .fileBytes = input.file.Size(),
        .meta = ParseSogMeta(archive.Content(*entry, kMostMetaBytes)),
    };
    sog.Explain(sog.meta.count * sizeof(RawGaussian));
    const Pictures pictures = ReadPictures(sog, input.threads);
    std::optional<PaletteShape> palette;
    if (sog.meta.harmonics) palette = ShapeOf(*sog.meta.harmonics, pictures.palette.size);
    const SceneFacts facts = {sog.meta.count, palette ? palette->degree : 0, {}};
    sog.Explain(facts.count * RawValues(facts.degree) * sizeof(float));
    DeliverPieces(facts, sink, input.threads, PieceDecoder(sog.meta, pictures, palette));
    return true;
}

}  // namespace vistrel
