// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/fuzz/exif_seeds.h"

#include <cstdint>

#include "tests/fuzz/tiff_directory.h"
#include "tests/support/exif_bytes.h"
#include "tests/support/picture_formats.h"
#include "tests/support/test_pictures.h"

namespace vistrel::fuzz {
namespace {

using namespace std::string_literals;

TiffEntry Short(std::uint16_t tag, std::uint32_t value, bool big) {
    return {tag, test::kExifShort, 1, test::ExifNumber(value, 2, big)};
}

TiffEntry Long(std::uint16_t tag, std::uint32_t value, bool big) {
    return {tag, test::kExifLong, 1, test::ExifNumber(value, 4, big)};
}

TiffEntry Text(std::uint16_t tag, const std::string& text) {
    constexpr std::uint16_t kAscii = 2;
    return {tag, kAscii, static_cast<std::uint32_t>(text.size() + 1), text + '\0'};
}

TiffEntry Bytes(std::uint16_t tag, const std::string& bytes) {
    constexpr std::uint16_t kUndefined = 7;
    return {tag, kUndefined, static_cast<std::uint32_t>(bytes.size()), bytes};
}

// What a camera writes: its name, a directory of its own with notes, one for the position, and one
// for a thumbnail.
std::string CameraBlock(const std::string& maker, const std::string& notes, bool big) {
    constexpr std::uint32_t kSpace = 200;  // bytes for each directory with what lies behind it
    constexpr std::uint32_t kFirst = 8;
    constexpr std::uint32_t kExif = kFirst + kSpace;
    constexpr std::uint32_t kPosition = kExif + kSpace;
    constexpr std::uint32_t kThumbnail = kPosition + kSpace;
    const auto padded = [](std::string directory) {
        directory.resize(kSpace);
        return directory;
    };
    std::string block = TiffStart(big);
    block +=
        padded(TiffDirectory({Text(0x010F, maker), Text(0x0110, "Model 1"), Short(0x0112, 6, big),
                              Long(0x8769, kExif, big), Long(0x8825, kPosition, big)},
                             big, kFirst, kThumbnail));
    block += padded(TiffDirectory(
        {Bytes(0x9000, "0230"), Text(0x9003, "2020:01:02 03:04:05"), Bytes(0x927C, notes)}, big,
        kExif));
    block +=
        padded(TiffDirectory({Text(0x0001, "N"), Bytes(0x001D, "2020:01:02"s)}, big, kPosition));
    block += padded(TiffDirectory(
        {Short(0x0103, 6, big), Long(0x0201, kThumbnail + kSpace, big), Long(0x0202, 4, big)}, big,
        kThumbnail));
    return block + "\xFF\xD8\xFF\xD9";
}

std::string WithSegment(const std::string& jpeg, char marker, const std::string& content) {
    const auto length = static_cast<std::uint32_t>(content.size() + 2);
    return jpeg.substr(0, 2) + '\xFF' + marker + test::ExifNumber(length, 2, true) + content +
           jpeg.substr(2);
}

std::string XmpText() {
    return "http://ns.adobe.com/xap/1.0/\0"s
           "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF "
           "xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'><rdf:Description "
           "xmlns:tiff='http://ns.adobe.com/tiff/1.0/' tiff:Orientation='6'/></rdf:RDF>"
           "</x:xmpmeta>";
}

}  // namespace

const std::vector<std::string>& ExifSeeds() {
    static const std::vector<std::string> seeds = [] {
        const test::PlainPicture picture = test::FilledPicture(2, 2, 1, 2, 3);
        const std::string jpeg = test::EncodeJpeg(picture, 50);
        const std::string png = test::EncodePng(picture);
        const std::string notes = TiffDirectory({Short(0x0001, 5, false)}, false);
        const std::string canon = CameraBlock("Canon", notes, false);
        const std::string nikon = CameraBlock(
            "NIKON", "Nikon\0\x02\x10\0\0"s + TiffStart(true) + TiffDirectory({}, true), true);
        const std::string fuji = CameraBlock("FUJIFILM", "FUJIFILM\x0C\0\0\0"s + notes, false);
        const std::string iptc =
            "Photoshop 3.0\0"s
            "8BIM\x04\x04\0\0\0\0\0\x08\x1C\x02\x05\0\x03"s
            "abc";
        return std::vector<std::string>{canon,
                                        nikon,
                                        test::JpegWithExif(jpeg, canon),
                                        test::JpegWithExif(jpeg, nikon),
                                        test::JpegWithExif(jpeg, fuji),
                                        test::WithPngChunk(png, "eXIf", nikon),
                                        WithSegment(jpeg, '\xE1', XmpText()),
                                        WithSegment(jpeg, '\xED', iptc)};
    }();
    return seeds;
}

}  // namespace vistrel::fuzz
