// SPDX-License-Identifier: GPL-3.0-or-later
// Any bytes as a picture file, and well-formed directories of any entries in a picture. The former
// give some orientation, the same every time; the latter the one that the plain rule finds: the
// first value of the first orientation entry when that one holds SHORTs, else upright. Both readers
// of EXIF find the same, and the one that tells more tells lengths that are positive numbers or 0.
#include "engine/exif_orientation.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <vector>

#include "base/text_encoding.h"
#include "photos/exif_facts.h"
#include "photos/focal_length.h"
#include "tests/fuzz/exif_seeds.h"
#include "tests/fuzz/memory_file.h"
#include "tests/fuzz/picture_seeds.h"
#include "tests/fuzz/require.h"
#include "tests/fuzz/seeded_mutation.h"
#include "tests/fuzz/tiff_directory.h"
#include "tests/support/exif_bytes.h"
#include "tests/support/picture_formats.h"
#include "tests/support/test_pictures.h"

namespace vistrel {
namespace {

using fuzz::Require;
using fuzz::TiffEntry;

constexpr int kUpright = 1;
constexpr std::uint16_t kOrientation = 0x0112;

void RequireLengths(const ExifFacts& facts) {
    for (const double value : {facts.focal35mm, facts.focalLength, facts.pixelsPerMillimetre,
                               facts.pixelWidth, facts.pixelHeight}) {
        Require(std::isfinite(value) && value >= 0);
    }
    const auto focal = FocalLengthByExif(facts, 30, 20, 1);
    Require(!focal || (std::isfinite(*focal) && *focal > 1));
}

int ReadBlock(const std::string& tiff) {
    const ExifFacts facts = ReadExifBlock(std::as_bytes(std::span(tiff)));
    RequireLengths(facts);
    return facts.orientation;
}

int Read(const std::string& bytes) {
    const fuzz::MemoryFile file(bytes);
    const int orientation = ReadExifOrientation(FromUtf8(file.Path()));
    Require(orientation >= std::numeric_limits<std::int16_t>::min() &&
            orientation <= std::numeric_limits<std::int16_t>::max());
    const ExifFacts facts = ReadExifOfFile(std::as_bytes(std::span(bytes)));
    RequireLengths(facts);
    Require(facts.orientation == orientation);
    ReadBlock(bytes);
    return orientation;
}

// Bytes of one value; types that there are not do not occur.
std::size_t ValueSize(std::uint16_t type) {
    constexpr std::array<std::size_t, 13> kSizes = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8};
    return kSizes[type];
}

// None of the tags that lead to further directories.
TiffEntry AnyEntry(FuzzedDataProvider& data) {
    constexpr std::array<std::uint16_t, 8> kTags = {kOrientation, kOrientation, 0x010E, 0x010F,
                                                    0x011A,       0x0128,       0x0131, 0x0213};
    TiffEntry entry{.tag = 0, .type = test::kExifShort, .count = 0, .values = {}};
    entry.tag = data.PickValueInArray(kTags);
    if (data.ConsumeBool()) entry.type = data.ConsumeIntegralInRange<std::uint16_t>(1, 12);
    entry.count = data.ConsumeIntegralInRange<std::uint32_t>(0, 6);
    const std::size_t bytes = entry.count * ValueSize(entry.type);
    entry.values = data.ConsumeBytesAsString(bytes);
    entry.values.resize(bytes);
    return entry;
}

int PlainOrientation(const std::vector<TiffEntry>& entries, bool bigEndian) {
    const auto found = std::ranges::find(entries, kOrientation, &TiffEntry::tag);
    if (found == entries.end()) return kUpright;
    if (found->type != test::kExifShort || found->count == 0) return kUpright;
    const auto first = static_cast<unsigned char>(found->values[0]);
    const auto second = static_cast<unsigned char>(found->values[1]);
    return static_cast<std::int16_t>(bigEndian ? (first << 8U) | second : (second << 8U) | first);
}

std::string InPicture(FuzzedDataProvider& data, const std::string& tiff) {
    static const test::PlainPicture picture = test::FilledPicture(2, 2, 1, 2, 3);
    static const std::string jpeg = test::EncodeJpeg(picture, 50);
    static const std::string png = test::EncodePng(picture);
    return data.ConsumeBool() ? test::JpegWithExif(jpeg, tiff)
                              : test::WithPngChunk(png, "eXIf", tiff);
}

void RequirePlainResult(FuzzedDataProvider& data) {
    const bool bigEndian = data.ConsumeBool();
    std::vector<TiffEntry> entries(data.ConsumeIntegralInRange<std::size_t>(1, 6));
    for (TiffEntry& entry : entries) entry = AnyEntry(data);
    const std::string tiff = fuzz::TiffStart(bigEndian) + fuzz::TiffDirectory(entries, bigEndian);
    const int expected = PlainOrientation(entries, bigEndian);
    Require(Read(InPicture(data, tiff)) == expected);
    Require(ReadBlock(tiff) == expected);
}

// The last byte tells what the others are.
constexpr char kFile = 0;
constexpr char kDirectory = 1;

const std::vector<std::string>& Seeds() {
    static const std::vector<std::string> seeds = [] {
        std::vector<std::string> all;
        for (const std::string& picture : fuzz::PictureSeeds()) all.push_back(picture + kFile);
        for (const std::string& picture : fuzz::ExifSeeds()) all.push_back(picture + kFile);
        for (int i = 0; i < 4; ++i) {
            const test::PlainPicture noise =
                test::NoisePicture(4, 4, false, 1U + static_cast<unsigned int>(i));
            all.push_back(std::string(noise.rgba.begin(), noise.rgba.end()) + kDirectory);
        }
        return all;
    }();
    return seeds;
}

}  // namespace
}  // namespace vistrel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedDataProvider data(bytes, size);
    if (data.ConsumeBool()) {
        vistrel::RequirePlainResult(data);
    } else {
        const std::string file = data.ConsumeRemainingBytesAsString();
        vistrel::Require(vistrel::Read(file) == vistrel::Read(file));
    }
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned int seed) {
    return vistrel::fuzz::MutateSeeded(vistrel::Seeds(), data, size, most, seed);
}
