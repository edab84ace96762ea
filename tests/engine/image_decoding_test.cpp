// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/image_decoding.h"

#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/types.h>

#include <array>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/capture.h"
#include "tests/support/picture_formats.h"
#include "tests/support/plain_image_stage.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/test_pictures.h"

namespace vistrel {
namespace {

using namespace std::string_literals;

Picture Decode(std::string bytes) {
    // fmemopen refuses an empty buffer; a trailing byte more is none of the picture's.
    bytes.push_back('\0');
    std::FILE* const file = fmemopen(bytes.data(), bytes.size(), "rb");
    if (file == nullptr) throw std::runtime_error("fmemopen");
    try {
        Picture picture = DecodePicture(file);
        std::fclose(file);
        return picture;
    } catch (...) {
        std::fclose(file);
        throw;
    }
}

std::vector<std::uint8_t> Pixels(const Picture& picture) {
    const auto bytes = static_cast<std::size_t>(picture.width) *
                       static_cast<std::size_t>(picture.height) * kPixelBytes;
    return {picture.pixels.get(), picture.pixels.get() + bytes};
}

std::string DecodingFailure(const std::string& bytes) {
    try {
        const Picture picture = Decode(bytes);
        return "none";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

void ExpectDecoded(const std::string& bytes, const test::PlainPicture& expected, bool opaque) {
    const Picture picture = Decode(bytes);
    EXPECT_EQ(picture.width, expected.width);
    EXPECT_EQ(picture.height, expected.height);
    EXPECT_EQ(picture.opaque, opaque);
    EXPECT_EQ(Pixels(picture), expected.rgba);
}

test::PlainPicture Opaque() {
    return test::NoisePicture(5, 3);
}
test::PlainPicture Transparent() {
    return test::NoisePicture(5, 3, false);
}

test::PlainPicture Grey() {
    test::PlainPicture picture = Opaque();
    for (std::size_t i = 0; i < picture.rgba.size(); i += 4) {
        picture.rgba[i + 1] = picture.rgba[i];
        picture.rgba[i + 2] = picture.rgba[i];
    }
    return picture;
}

TEST(DecodePicture, Png) {
    ExpectDecoded(test::EncodePng(Opaque(), 3), Opaque(), true);
    ExpectDecoded(test::EncodePng(Transparent(), 4), Transparent(), false);
    ExpectDecoded(test::EncodePng(Grey(), 1), Grey(), true);
}

TEST(DecodePicture, PalettePng) {
    test::PlainPicture expected = test::FilledPicture(2, 1, 1, 2, 3);
    expected.rgba = {9, 8, 7, 255, 250, 251, 252, 255};
    const std::string palette = "\x01\x02\x03\x09\x08\x07\xFA\xFB\xFC";
    ExpectDecoded(test::StoredPng(2, 1, 8, 3, {"\x01\x02"}, palette), expected, true);
    ExpectDecoded(test::StoredPng(2, 1, 2, 3, {"\x60"}, palette), expected, true);

    expected.rgba = {9, 8, 7, 16, 250, 251, 252, 255};
    ExpectDecoded(test::StoredPng(2, 1, 8, 3, {"\x01\x02"}, palette, "\x20\x10"), expected, false);
}

// Fills the stack where the next call will have its variables.
[[gnu::noinline]] void LeaveOldBytesOnTheStack() {
    std::array<volatile char, 65536> bytes;
    for (volatile char& byte : bytes) byte = '\xAB';
}

TEST(DecodePicture, ColoursThatThePaletteLacksAreNothing) {
    test::PlainPicture expected = test::FilledPicture(2, 1, 1, 2, 3);
    expected.rgba = {1, 2, 3, 255, 0, 0, 0, 0};
    const std::string png = test::StoredPng(2, 1, 8, 3, {"\0\x55"s}, "\x01\x02\x03");
    LeaveOldBytesOnTheStack();
    ExpectDecoded(png, expected, false);
}

TEST(DecodePicture, GreyAndAlphaPng) {
    test::PlainPicture expected = test::FilledPicture(2, 1, 0, 0, 0);
    expected.rgba = {65, 65, 65, 97, 66, 66, 66, 98};
    ExpectDecoded(test::StoredPng(2, 1, 8, 4, {"AaBb"}), expected, false);
}

TEST(DecodePicture, OneBitPng) {
    test::PlainPicture expected = test::FilledPicture(2, 1, 0, 0, 0);
    expected.rgba = {255, 255, 255, 255, 0, 0, 0, 255};
    ExpectDecoded(test::StoredPng(2, 1, 1, 0, {"\x80"}), expected, true);
}

TEST(DecodePicture, SixteenBitPngKeepsTheUpperBytes) {
    test::PlainPicture expected = test::FilledPicture(2, 1, 0, 0, 0);
    expected.rgba = {0x12, 0x56, 0x9A, 255, 0xFF, 0x00, 0x80, 255};
    const std::string row = "\x12\x34\x56\x78\x9A\xBC\xFF\xFE\x00\x01\x80\x7F"s;
    ExpectDecoded(test::StoredPng(2, 1, 16, 2, {row}), expected, true);
}

TEST(DecodePicture, Bmp) {
    ExpectDecoded(test::EncodeBmp(Opaque(), 3), Opaque(), true);
    ExpectDecoded(test::EncodeBmp(Transparent(), 4), Transparent(), false);
}

TEST(DecodePicture, Tga) {
    ExpectDecoded(test::EncodeTga(Opaque(), 3), Opaque(), true);
    ExpectDecoded(test::EncodeTga(Transparent(), 4), Transparent(), false);
    ExpectDecoded(test::EncodeTga(Grey(), 1), Grey(), true);
}

TEST(DecodePicture, Gif) {
    test::PlainPicture expected = test::FilledPicture(2, 2, 0, 0, 0);
    expected.rgba = {9, 8, 7, 255, 1, 2, 3, 255, 9, 8, 7, 255, 9, 8, 7, 255};
    const Picture picture = Decode(test::StoredGif(2, 2, "\1\0\1\1"s, "\1\2\3\x9\x8\x7"));
    EXPECT_EQ(Pixels(picture), expected.rgba);
}

TEST(DecodePicture, Psd) {
    ExpectDecoded(test::StoredPsd(Opaque()), Opaque(), false);
}

TEST(DecodePicture, Pic) {
    ExpectDecoded(test::StoredPic(Opaque()), Opaque(), true);
}

TEST(DecodePicture, Pnm) {
    ExpectDecoded(test::StoredPpm(Opaque()), Opaque(), true);
    ExpectDecoded(test::StoredPgm(Grey()), Grey(), true);
}

TEST(DecodePicture, HdrIsBroughtToEightBitsByGamma) {
    test::PlainPicture expected = test::FilledPicture(2, 1, 0, 0, 0);
    const auto quarter = static_cast<std::uint8_t>(std::lround(255 * std::pow(0.25, 1 / 2.2)));
    expected.rgba = {255, 0, quarter, 255, 0, 0, 0, 255};
    ExpectDecoded(test::StoredHdr(2, 1, "\x80\x00\x20\x81\x00\x00\x00\x00"s), expected, true);
}

struct Jpeg {
    const char* name;
    bool grey;
};

class DecodeJpeg : public testing::TestWithParam<Jpeg> {};

INSTANTIATE_TEST_SUITE_P(Kinds, DecodeJpeg,
                         testing::Values(Jpeg{"baseline", false}, Jpeg{"progressive", false},
                                         Jpeg{"cmyk", false}, Jpeg{"grey", true}),
                         [](const auto& kind) { return std::string(kind.param.name); });

TEST_P(DecodeJpeg, FourSquaresHaveTheirColours) {
    const std::filesystem::path folder = VISTREL_TEST_DATA;
    const std::string name = GetParam().name + ".jpg"s;
    const Picture picture = Decode(test::ReadFile(folder / name));
    ASSERT_EQ(picture.width, 32);
    ASSERT_EQ(picture.height, 32);
    EXPECT_TRUE(picture.opaque);

    const auto channelAt = [&](int x, int y, int channel) {
        return int{picture.pixels[static_cast<std::size_t>((4 * ((32 * y) + x)) + channel)]};
    };
    constexpr int kTolerance = 6;
    const int colours[4][3] = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {200, 200, 200}};
    for (int square = 0; square < 4; ++square) {
        const int x = 8 + (16 * (square % 2));
        const int y = 8 + (16 * (square / 2));
        const int* colour = colours[square];
        const int luma =
            static_cast<int>((0.299 * colour[0]) + (0.587 * colour[1]) + (0.114 * colour[2]));
        for (int channel = 0; channel < 3; ++channel) {
            EXPECT_NEAR(channelAt(x, y, channel), GetParam().grey ? luma : colour[channel],
                        kTolerance)
                << "square " << square << " channel " << channel;
        }
        EXPECT_EQ(channelAt(x, y, 3), 255);
    }
}

class DecodeBrokenJpeg : public testing::Test {
  protected:
    ~DecodeBrokenJpeg() override { FillNewMemory(0); }
    // Every block of std::malloc holds (the complement of) this byte from now on; 0: none does.
    static void FillNewMemory(int byte) { mallopt(M_PERTURB, byte); }
};

// The marks that the inserted segment announces are missing, so that decoding ends after the first
// block of pixels.
TEST_F(DecodeBrokenJpeg, WhatIsMissingHoldsNoOldMemory) {
    std::string jpeg = test::EncodeJpeg(test::NoisePicture(40, 8), 60);
    jpeg.insert(2, "\xFF\xDD\0\x04\0\x01"s);
    const std::vector<std::uint8_t> first = Pixels(Decode(jpeg));
    FillNewMemory(0x5A);
    EXPECT_EQ(Pixels(Decode(jpeg)), first);
}

TEST(DecodePicture, EmptyFileIsRefused) {
    EXPECT_EQ(DecodingFailure(""), "stb_image failed to load (unknown image type)");
}

TEST(DecodePicture, TextIsRefused) {
    EXPECT_EQ(DecodingFailure("This is no picture, however long one reads it."),
              "stb_image failed to load (unknown image type)");
}

TEST(DecodePicture, TruncatedPngIsRefused) {
    const std::string png = test::EncodePng(test::NoisePicture(50, 50));
    EXPECT_EQ(DecodingFailure(png.substr(0, png.size() / 2)),
              "stb_image failed to load (outofdata)");
    EXPECT_EQ(DecodingFailure(png.substr(0, 20)).rfind("stb_image failed to load (", 0), 0U);
}

TEST(DecodePicture, JpegWithoutPictureDataIsRefused) {
    const std::string jpeg = test::EncodeJpeg(test::NoisePicture(50, 50), 80);
    EXPECT_EQ(DecodingFailure(jpeg.substr(0, 20)).rfind("stb_image failed to load (", 0), 0U);
}

TEST(DecodePicture, TruncatedJpegHasItsFullSize) {
    const std::string jpeg = test::EncodeJpeg(test::NoisePicture(50, 50), 80);
    const Picture picture = Decode(jpeg.substr(0, jpeg.size() / 2));
    EXPECT_EQ(picture.width, 50);
    EXPECT_EQ(picture.height, 50);
}

// A file whose disk fails behind these bytes.
class FailingFile {
  public:
    explicit FailingFile(std::string bytes) : bytes_(std::move(bytes)) {
        cookie_io_functions_t functions{};
        functions.read = [](void* self, char* to, std::size_t most) {
            return static_cast<FailingFile*>(self)->Read(to, most);
        };
        file_ = fopencookie(this, "rb", functions);
    }
    ~FailingFile() { std::fclose(file_); }
    FailingFile(const FailingFile&) = delete;
    FailingFile& operator=(const FailingFile&) = delete;

    [[nodiscard]] std::FILE* Get() const { return file_; }

  private:
    ssize_t Read(char* to, std::size_t most) {
        const std::size_t got = bytes_.copy(to, most, at_);
        at_ += got;
        if (got > 0) return static_cast<ssize_t>(got);
        errno = EIO;
        return -1;
    }

    std::string bytes_;
    std::size_t at_ = 0;
    std::FILE* file_;
};

TEST(DecodePicture, ReadErrorIsNoEndOfTheFile) {
    const std::string jpeg = test::EncodeJpeg(test::NoisePicture(50, 50), 80);
    const FailingFile file(jpeg.substr(0, jpeg.size() / 2));
    EXPECT_EQ(test::FailureOf([&] { static_cast<void>(DecodePicture(file.Get())); }),
              "stb_image failed to load (read error)");
}

TEST(DecodePicture, SizesBeyondTheDecoderAreRefused) {
    constexpr int kHuge = 60000;
    const std::string tooLarge = "stb_image failed to load (too large)";
    EXPECT_EQ(DecodingFailure(test::StoredPng(kHuge, kHuge, 8, 2, {"abc"})), tooLarge);
    EXPECT_EQ(DecodingFailure(test::StoredPng(1 << 30, 1, 8, 2, {"abc"})), tooLarge);

    test::PlainPicture claimed = Opaque();
    claimed.width = kHuge;
    claimed.height = kHuge;
    EXPECT_EQ(DecodingFailure(test::StoredPsd(claimed)), tooLarge);
    EXPECT_EQ(DecodingFailure(test::StoredPpm(claimed)), tooLarge);
    EXPECT_EQ(DecodingFailure(test::StoredPic(claimed)), tooLarge);
    EXPECT_EQ(DecodingFailure(test::StoredHdr(kHuge, kHuge, "")), tooLarge);

    std::string bmp = test::EncodeBmp(Opaque(), 3);
    bmp.replace(18, 8, "\x60\xEA\0\0\x60\xEA\0\0"s);
    EXPECT_EQ(DecodingFailure(bmp), tooLarge);
    std::string tga = test::EncodeTga(Opaque(), 3);
    tga.replace(12, 4, "\x60\xEA\x60\xEA"s);
    EXPECT_EQ(DecodingFailure(tga), tooLarge);
}

TEST(DecodePicture, PictureWithoutPixelsIsRefused) {
    EXPECT_EQ(DecodingFailure(test::StoredHdr(0, 1, "\x80\x00\x20\x81"s)),
              "stb_image failed to load (no pixels)");
    EXPECT_EQ(DecodingFailure(test::StoredPng(0, 1, 8, 2, {"abc"})),
              "stb_image failed to load (0-pixel image)");
}

// The GIF has a size, so that the noise behind it is taken for colours and codes.
TEST(DecodePicture, NoiseNeverCrashes) {
    for (std::uint32_t seed = 0; seed < 8; ++seed) {
        const test::PlainPicture noise = test::NoisePicture(20, 20, false, seed);
        const std::string bytes(noise.rgba.begin(), noise.rgba.end());
        for (const std::string& magic :
             {""s, "\xFF\xD8\xFF"s, "\x89PNG\r\n\x1A\n"s, "GIF89a\x14\0\x14\0"s, "BM"s}) {
            const std::string failure = DecodingFailure(magic + bytes);
            EXPECT_EQ(failure.rfind("stb_image failed to load (", 0), 0U) << failure;
        }
    }
}

}  // namespace
}  // namespace vistrel
