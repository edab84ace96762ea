// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/fuzz/picture_seeds.h"

#include "tests/support/exif_bytes.h"
#include "tests/support/picture_formats.h"
#include "tests/support/test_pictures.h"

namespace vistrel::fuzz {

const std::vector<std::string>& PictureSeeds() {
    using namespace std::string_literals;
    static const std::vector<std::string> seeds = [] {
        const test::PlainPicture picture = test::NoisePicture(9, 7, false);
        const std::string jpeg = test::EncodeJpeg(picture, 60);
        const std::string png = test::EncodePng(picture);
        const std::string tiff = test::TiffBlock(test::OrientationEntry(6));
        return std::vector<std::string>{
            jpeg,
            test::JpegWithExif(jpeg, tiff),
            test::EncodeJpeg(picture, 95, 1),
            png,
            test::WithPngChunk(png, "eXIf", tiff),
            test::StoredPng(2, 1, 8, 3, {"\x01\x02"}, "\x01\x02\x03\x09\x08\x07\xFA\xFB\xFC",
                            "\x20"),
            test::StoredPng(2, 1, 8, 3, {"\x01\x55"}, "\x01\x02\x03"),
            test::StoredPng(2, 1, 16, 2, {"\x12\x34\x56\x78\x9A\xBC\xFF\xFE\x00\x01\x80\x7F"s}),
            test::EncodeBmp(picture, 4),
            test::EncodeTga(picture),
            test::StoredGif(2, 2, "\1\0\1\1"s, "\1\2\3\x9\x8\x7"),
            test::StoredPsd(picture),
            test::StoredPic(picture),
            test::StoredPpm(picture),
            test::StoredHdr(2, 1, "\x80\x00\x20\x81\x00\x00\x00\x00"s)};
    }();
    return seeds;
}

}  // namespace vistrel::fuzz
