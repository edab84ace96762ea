// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/fuzz/colour_seeds.h"

#include <zlib.h>

#include <cstddef>
#include <cstdint>

#include "tests/fuzz/picture_seeds.h"
#include "tests/support/icc_profiles.h"
#include "tests/support/picture_formats.h"
#include "tests/support/test_pictures.h"

namespace vistrel::fuzz {
namespace {

using namespace std::string_literals;

std::string JpegWithProfile(const std::string& profile, int channels) {
    const std::string jpeg = test::EncodeJpeg(test::NoisePicture(5, 4), 60, channels);
    const std::size_t length = 2 + 14 + profile.size();
    return jpeg.substr(0, 2) + "\xFF\xE2"s + static_cast<char>(length >> 8) +
           static_cast<char>(length & 0xFF) + "ICC_PROFILE\0\1\1"s + profile + jpeg.substr(2);
}

// Not compressed, so that a change of a byte is one of the profile.
std::string PngWithProfile(const std::string& png, const std::string& profile) {
    uLongf size = compressBound(profile.size());
    std::string packed(size, '\0');
    compress2(reinterpret_cast<Bytef*>(packed.data()), &size,
              reinterpret_cast<const Bytef*>(profile.data()), profile.size(), Z_NO_COMPRESSION);
    packed.resize(size);
    return test::WithPngChunk(png, "iCCP", "p\0\0"s + packed);
}

}  // namespace

const std::vector<std::string>& ColourSeeds() {
    static const std::vector<std::string> seeds = [] {
        const std::string png = test::EncodePng(test::NoisePicture(5, 4, false));
        const std::string grey = test::EncodePng(test::NoisePicture(5, 4), 1);
        const std::string deep =
            test::StoredPng(2, 1, 16, 2, {"\x12\x34\x56\x78\x9A\xBC\xFF\xFE\x00\x01\x80\x7F"s});
        const std::string p3 = test::IccOfDisplay(test::kPlainP3, test::IccSrgbCurve());
        const std::string adobe = test::IccOfDisplay(test::kPlainAdobe, test::IccPower(2.2));
        const std::string ofGrey = test::IccOfGrey(test::IccPower(1.8));
        const std::string table = test::IccTable(
            "RGB ", {"\x05\x80\x80", "\x40\x90\x40", "\x80\x30\xA0", "\x90\x50\x70", "\x60\xC0\xB0",
                     "\x70\xD0\x50", "\xF0\x70\xD0", "\xFF\x80\x80"});
        const std::string inks =
            test::IccTable("CMYK", std::vector<test::IccLab>(16, "\x70\x60\x90"));
        std::vector<std::string> made = {
            JpegWithProfile(p3, 3),
            JpegWithProfile(adobe, 3),
            JpegWithProfile(ofGrey, 1),
            JpegWithProfile(table, 3),
            JpegWithProfile(inks, 3) + "K",
            PngWithProfile(png, p3),
            PngWithProfile(grey, ofGrey),
            PngWithProfile(deep, adobe),
            PngWithProfile(deep, table),
            PngWithProfile(deep, inks) + "K",
            test::WithPngChunk(png, "cICP", "\x0C\x0D\0\1"s),
            test::WithPngChunk(deep, "cICP", "\x09\x10\0\1"s),
            test::WithPngChunk(png, "cICP", "\x09\x12\0\1"s),
            test::WithPngChunk(deep, "gAMA", "\0\0\xD9\x04"s),
            test::WithPngChunk(test::WithPngChunk(png, "gAMA", "\0\0\xD9\x04"s), "cHRM",
                               "\0\0\x7A\x26\0\0\x80\x84\0\0\xFA\0\0\0\x80\xE8"
                               "\0\0\x52\x08\0\1\x15\x58\0\0\x3A\x98\0\0\x17\x70"s),
            test::WithPngChunk(png, "sRGB", "\0"s)};
        const std::vector<std::string>& others = PictureSeeds();
        made.insert(made.end(), others.begin(), others.end());
        return made;
    }();
    return seeds;
}

}  // namespace vistrel::fuzz
