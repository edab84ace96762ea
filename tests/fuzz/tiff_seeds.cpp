// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/fuzz/tiff_seeds.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "tests/fuzz/tiff_directory.h"
#include "tests/support/exif_bytes.h"
#include "tests/support/test_pictures.h"

namespace vistrel::fuzz {
namespace {

using Values = std::vector<std::uint32_t>;

constexpr std::uint32_t kSide = 12;
constexpr std::uint32_t kSensorSide = 24;  // libraw knows no smaller ones
constexpr std::uint32_t kTileSide = 16;

enum Tag : std::uint16_t {
    kWidth = 256,
    kHeight = 257,
    kBits = 258,
    kCompression = 259,
    kPhotometric = 262,
    kMake = 271,
    kModel = 272,
    kStripOffsets = 273,
    kOrientation = 274,
    kSamples = 277,
    kRowsPerStrip = 278,
    kStripBytes = 279,
    kPlanes = 284,
    kPredictor = 317,
    kColourMap = 320,
    kTileWidth = 322,
    kTileHeight = 323,
    kTileOffsets = 324,
    kTileBytes = 325,
    kExtraSamples = 338,
    kSampleFormat = 339,
    kPatternSides = 33421,
    kPattern = 33422,
    kProfile = 34675,
    kDngVersion = 50706,
    kWhiteLevel = 50717,
    kColourMatrix = 50721,
    kNeutral = 50728,
};

enum Compression : std::uint16_t {
    kNone = 1,
    kFax = 3,
    kLzw = 5,
    kJpeg = 7,
    kDeflate = 8,
    kPackBits = 32773
};

enum Photometric : std::uint16_t {
    kWhiteIsZero = 0,
    kBlackIsZero = 1,
    kRgb = 2,
    kPalette = 3,
    kInks = 5,
    kLuma = 6,
    kLab = 8,
    kFilters = 32803,
    kLinear = 34892
};

struct Layout {
    bool bigEndian = false;
    Photometric photometric = kRgb;
    Values bits = {8, 8, 8};
    Compression compression = kNone;
    std::vector<TiffEntry> more;
    std::uint32_t side = kSide;
    bool tiled = false;
    bool separate = false;
};

TiffEntry Entry(Tag tag, const Values& values, bool bigEndian, std::uint16_t type) {
    const int bytes = type == test::kExifByte ? 1 : type == test::kExifShort ? 2 : 4;
    TiffEntry entry{tag, type, static_cast<std::uint32_t>(values.size()), {}};
    for (const std::uint32_t value : values) {
        entry.values += test::ExifNumber(value, bytes, bigEndian);
    }
    return entry;
}

// A file of one picture whose strips or tiles are `blocks`, already compressed.
std::string Tiff(const Layout& layout, const std::vector<std::string>& blocks) {
    const bool big = layout.bigEndian;
    const auto shorts = [big](Tag tag, const Values& values) {
        return Entry(tag, values, big, test::kExifShort);
    };
    const auto longs = [big](Tag tag, const Values& values) {
        return Entry(tag, values, big, test::kExifLong);
    };
    Values sizes;
    for (const std::string& block : blocks) {
        sizes.push_back(static_cast<std::uint32_t>(block.size()));
    }
    const auto directory = [&](const Values& offsets) {
        std::vector<TiffEntry> entries{
            shorts(kWidth, {layout.side}),
            shorts(kHeight, {layout.side}),
            shorts(kBits, layout.bits),
            shorts(kCompression, {layout.compression}),
            shorts(kPhotometric, {layout.photometric}),
            shorts(kOrientation, {6}),
            shorts(kSamples, {static_cast<std::uint32_t>(layout.bits.size())}),
            shorts(kPlanes, {layout.separate ? 2U : 1U}),
        };
        if (layout.tiled) {
            entries.push_back(shorts(kTileWidth, {kTileSide}));
            entries.push_back(shorts(kTileHeight, {kTileSide}));
        } else {
            const std::size_t strips =
                layout.separate ? blocks.size() / layout.bits.size() : blocks.size();
            entries.push_back(
                shorts(kRowsPerStrip, {static_cast<std::uint32_t>(layout.side / strips)}));
        }
        entries.push_back(longs(layout.tiled ? kTileOffsets : kStripOffsets, offsets));
        entries.push_back(longs(layout.tiled ? kTileBytes : kStripBytes, sizes));
        entries.insert(entries.end(), layout.more.begin(), layout.more.end());
        std::sort(entries.begin(), entries.end(),
                  [](const TiffEntry& a, const TiffEntry& b) { return a.tag < b.tag; });
        return TiffDirectory(entries, big);
    };
    const std::string start = TiffStart(big);
    std::size_t end = start.size() + directory(sizes).size();
    Values offsets;
    std::string content;
    for (const std::string& block : blocks) {
        offsets.push_back(static_cast<std::uint32_t>(end + content.size()));
        content += block;
    }
    return start + directory(offsets) + content;
}

std::string Samples(std::size_t bytes) {
    std::string samples;
    for (std::size_t i = 0; i < bytes; ++i) samples += static_cast<char>((i * 37) % 251);
    return samples;
}

std::string Block(const Layout& layout, std::uint32_t width, std::uint32_t rows) {
    const std::size_t samples = layout.separate ? 1 : layout.bits.size();
    return Samples(rows * (((width * samples * layout.bits[0]) + 7) / 8));
}

// Literal runs alone.
std::string PackBits(const std::string& bytes) {
    std::string packed;
    for (std::size_t i = 0; i < bytes.size(); i += 128) {
        const std::string run = bytes.substr(i, 128);
        packed += static_cast<char>(run.size() - 1) + run;
    }
    return packed;
}

// Every byte as its own code of nine bits; a clear code before the codes would grow.
std::string Lzw(const std::string& bytes) {
    constexpr std::uint32_t kClear = 256;
    constexpr std::uint32_t kEnd = 257;
    Values codes;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i % 200 == 0) codes.push_back(kClear);
        codes.push_back(static_cast<std::uint8_t>(bytes[i]));
    }
    codes.push_back(kEnd);
    std::string packed;
    std::uint32_t waiting = 0;
    int bits = 0;
    for (const std::uint32_t code : codes) {
        waiting = (waiting << 9) | code;
        for (bits += 9; bits >= 8; bits -= 8) packed += static_cast<char>(waiting >> (bits - 8));
    }
    return packed + static_cast<char>(waiting << (8 - bits));
}

// Stored, with its check sum.
std::string Deflate(const std::string& bytes) {
    std::uint32_t sum = 1;
    std::uint32_t sums = 0;
    for (const char byte : bytes) {
        sum = (sum + static_cast<std::uint8_t>(byte)) % 65521;
        sums = (sums + sum) % 65521;
    }
    const auto size = static_cast<std::uint32_t>(bytes.size());
    return "\x78\x01\x01" + test::ExifNumber(size, 2, false) + test::ExifNumber(~size, 2, false) +
           bytes + test::ExifNumber((sums << 16) | sum, 4, true);
}

std::string Plain(const Layout& layout) {
    if (layout.tiled) {
        const std::size_t across = (layout.side + kTileSide - 1) / kTileSide;
        const std::size_t planes = layout.separate ? layout.bits.size() : 1;
        const std::vector<std::string> tiles(across * across * planes,
                                             Block(layout, kTileSide, kTileSide));
        return Tiff(layout, tiles);
    }
    const std::vector<std::string> strips(layout.separate ? 2 * layout.bits.size() : 2,
                                          Block(layout, layout.side, layout.side / 2));
    return Tiff(layout, strips);
}

std::string Compressed(Compression compression, std::string (*compress)(const std::string&)) {
    Layout layout;
    if (compression == kFax) layout.bits = {1};
    if (compression == kFax) layout.photometric = kWhiteIsZero;
    layout.compression = compression;
    if (compression == kLzw) layout.more = {Entry(kPredictor, {2}, false, test::kExifShort)};
    const std::string strip = compress(Block(layout, layout.side, layout.side / 2));
    return Tiff(layout, {strip, strip});
}

std::string JpegInTiff() {
    Layout layout;
    layout.compression = kJpeg;
    layout.photometric = kLuma;
    return Tiff(layout, {test::EncodeJpeg(test::NoisePicture(kSide, kSide), 60)});
}

std::string PaletteTiff() {
    Layout layout;
    layout.bits = {4};
    layout.photometric = kPalette;
    Values colours;
    for (std::uint32_t i = 0; i < 3 * 16; ++i) colours.push_back(i * 1300);
    layout.more = {Entry(kColourMap, colours, false, test::kExifShort)};
    return Plain(layout);
}

TiffEntry Rationals(Tag tag, const Values& numbers) {
    Values values;
    for (const std::uint32_t number : numbers) {
        values.push_back(number);
        values.push_back(10000);
    }
    constexpr std::uint16_t kRational = 5;
    TiffEntry entry = Entry(tag, values, false, kRational);
    entry.count /= 2;
    return entry;
}

// A DNG whose filters have a pattern of these sides.
Layout Sensor(std::uint32_t bits, std::uint32_t side = 2) {
    using namespace std::string_literals;
    constexpr std::uint16_t kText = 2;
    Values pattern{0, 1, 1, 2};
    if (side == 6) {
        pattern = {1, 1, 0, 1, 1, 2, 1, 1, 2, 1, 1, 0, 2, 0, 1, 0, 2, 1,
                   1, 1, 2, 1, 1, 0, 1, 1, 0, 1, 1, 2, 0, 2, 1, 2, 0, 1};
    }
    Layout layout;
    layout.photometric = kFilters;
    layout.bits = {bits};
    layout.side = kSensorSide;
    layout.more = {
        {kMake, kText, 5, "Make\0"s},
        {kModel, kText, 6, "Model\0"s},
        Entry(kPatternSides, {side, side}, false, test::kExifShort),
        Entry(kPattern, pattern, false, test::kExifByte),
        Entry(kDngVersion, {1, 4, 0, 0}, false, test::kExifByte),
        Entry(kWhiteLevel, {(1U << bits) - 1}, false, test::kExifLong),
        Rationals(kColourMatrix, {10000, 0, 0, 0, 10000, 0, 0, 0, 10000}),
        Rationals(kNeutral, {5000, 10000, 7000}),
    };
    return layout;
}

}  // namespace

const std::vector<std::string>& TiffSeeds() {
    static const std::vector<std::string> seeds = [] {
        const auto plain = [](const Values& bits, Photometric photometric, auto... change) {
            Layout layout;
            layout.bits = bits;
            layout.photometric = photometric;
            (change(layout), ...);
            return Plain(layout);
        };
        const auto big = [](Layout& layout) { layout.bigEndian = true; };
        const auto tiled = [](Layout& layout) { layout.tiled = true; };
        const auto separate = [](Layout& layout) { layout.separate = true; };
        const auto alpha = [](Layout& layout) {
            layout.more.push_back(Entry(kExtraSamples, {1}, layout.bigEndian, test::kExifShort));
        };
        const auto floats = [](Layout& layout) {
            layout.more.push_back(Entry(kSampleFormat, Values(layout.bits.size(), 3),
                                        layout.bigEndian, test::kExifShort));
        };
        const auto profile = [](Layout& layout) {
            layout.more.push_back(Entry(kProfile, {1, 2, 3, 4, 5}, false, test::kExifByte));
        };
        return std::vector<std::string>{plain({8, 8, 8}, kRgb, profile),
                                        plain({16, 16, 16}, kRgb, big),
                                        plain({8, 8, 8, 8}, kRgb, alpha, tiled),
                                        plain({8, 8, 8}, kRgb, separate),
                                        plain({16, 16, 16, 16}, kRgb, big, alpha, separate, tiled),
                                        plain({32, 32, 32}, kRgb, floats),
                                        plain({16}, kBlackIsZero, floats),
                                        plain({1}, kWhiteIsZero),
                                        plain({12}, kBlackIsZero),
                                        plain({8, 8}, kBlackIsZero, alpha),
                                        plain({8, 8, 8, 8}, kInks),
                                        plain({8, 8, 8}, kLab),
                                        PaletteTiff(),
                                        Compressed(kLzw, Lzw),
                                        Compressed(kDeflate, Deflate),
                                        Compressed(kPackBits, PackBits),
                                        Compressed(kFax, PackBits),
                                        JpegInTiff()};
    }();
    return seeds;
}

const std::vector<std::string>& RawSeeds() {
    static const std::vector<std::string> seeds = [] {
        Layout grey = Sensor(16);
        grey.photometric = kLinear;
        Layout colours = Sensor(8);
        colours.photometric = kLinear;
        colours.bits = {8, 8, 8};
        Layout tiled = Sensor(16);
        tiled.tiled = true;
        return std::vector<std::string>{Plain(Sensor(16)), Plain(Sensor(16, 6)), Plain(Sensor(12)),
                                        Plain(Sensor(8)),  Plain(grey),          Plain(colours),
                                        Plain(tiled)};
    }();
    return seeds;
}

}  // namespace vistrel::fuzz
