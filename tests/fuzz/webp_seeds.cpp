// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/fuzz/webp_seeds.h"

#include <cstdint>

#include "tests/support/exif_bytes.h"

namespace vistrel::fuzz {
namespace {

using namespace std::string_literals;

// Nine by six pixels each, of which red grows to the right and green downwards.
constexpr std::uint8_t kLossy[] = {0xd0, 0x01, 0x00, 0x9d, 0x01, 0x2a, 0x09, 0x00, 0x06, 0x00, 0x05,
                                   0x40, 0x7c, 0x25, 0xb0, 0x02, 0x74, 0x00, 0xf4, 0x2f, 0x17, 0x62,
                                   0x00, 0x00, 0xfe, 0xdc, 0xef, 0xbe, 0xea, 0x2b, 0x6e, 0x2a, 0x47,
                                   0xc9, 0xe9, 0xbd, 0x58, 0x3b, 0x30, 0x3f, 0x4f, 0x7e, 0x22, 0x93,
                                   0xb2, 0x2f, 0x61, 0x6f, 0x15, 0x14, 0x00, 0x00};
constexpr std::uint8_t kLossless[] = {0x2f, 0x08, 0x40, 0x01, 0x00, 0x89, 0x8c, 0xe8, 0x7f,
                                      0x2c, 0x22, 0xa2, 0xff, 0x01, 0x85, 0x6c, 0x23, 0x40,
                                      0x87, 0x73, 0xfe, 0x8e, 0x3f, 0xc1, 0x70, 0x8c, 0x56,
                                      0x4c, 0x00, 0x44, 0x92, 0x7c, 0x01, 0x00};
constexpr std::uint8_t kAlpha[] = {0x01, 0x89, 0x8c, 0xe8, 0x7f, 0x40, 0x20, 0x90, 0x6c, 0x92,
                                   0xbf, 0xea, 0x04, 0x11, 0x13, 0x10, 0x05, 0x00, 0xc8, 0x0b};
constexpr std::uint8_t kLosslessAlpha[] = {
    0x2f, 0x08, 0x40, 0x01, 0x10, 0x89, 0x32, 0x44, 0xf4, 0x3f, 0x16, 0x11, 0xd1, 0xff,
    0x00, 0x61, 0xb6, 0x51, 0x71, 0xce, 0x9f, 0x71, 0xaf, 0x23, 0x18, 0x8e, 0xd1, 0x12,
    0x08, 0xa4, 0xb0, 0x49, 0x9e, 0x00, 0xe4, 0x75, 0xc3, 0x00, 0x7d, 0x01};

template <std::size_t kSize>
std::string Text(const std::uint8_t (&bytes)[kSize]) {
    return {bytes, bytes + kSize};
}

std::string Chunk(const std::string& name, const std::string& content) {
    const std::string padding(content.size() % 2, '\0');
    return name + test::ExifNumber(static_cast<std::uint32_t>(content.size()), 4, false) + content +
           padding;
}

std::string File(const std::string& chunks) {
    return Chunk("RIFF", "WEBP" + chunks);
}

// The head of a file of several chunks, for a canvas of these sides.
std::string Head(std::uint32_t flags, std::uint32_t width, std::uint32_t height) {
    return Chunk("VP8X", test::ExifNumber(flags, 4, false) + test::ExifNumber(width - 1, 3, false) +
                             test::ExifNumber(height - 1, 3, false));
}

// A frame two pixels to the right of the canvas' corner.
std::string Frame(const std::string& picture) {
    return Chunk("ANMF", "\1\0\0\0\0\0\x8\0\0\x5\0\0\x64\0\0\0"s + picture);
}

}  // namespace

const std::vector<std::string>& WebpSeeds() {
    constexpr std::uint32_t kAnimated = 0x02;
    constexpr std::uint32_t kExif = 0x08;
    constexpr std::uint32_t kHasAlpha = 0x10;
    constexpr std::uint32_t kProfile = 0x20;
    static const std::vector<std::string> seeds = [] {
        const std::string lossy = Chunk("VP8 ", Text(kLossy));
        const std::string lossless = Chunk("VP8L", Text(kLossless));
        const std::string exif = Chunk("EXIF", test::TiffBlock(test::OrientationEntry(6)));
        const std::string animation = Chunk("ANIM", "\xFF\xFF\xFF\xFF\0\0"s);
        return std::vector<std::string>{
            File(lossy),
            File(lossless),
            File(Chunk("VP8L", Text(kLosslessAlpha))),
            File(Head(kHasAlpha, 9, 6) + Chunk("ALPH", Text(kAlpha)) + lossy),
            File(Head(kProfile | kExif, 9, 6) + Chunk("ICCP", "profile") + lossless + exif),
            File(Head(kAnimated | kHasAlpha, 13, 7) + animation + Frame(lossless) + Frame(lossy))};
    }();
    return seeds;
}

}  // namespace vistrel::fuzz
