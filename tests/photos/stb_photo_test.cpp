// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/stb_photo.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <ostream>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "engine/image_decoding.h"
#include "photos/colour_conversion.h"
#include "tests/support/icc_profiles.h"
#include "tests/support/picture_formats.h"
#include "tests/support/test_pictures.h"

namespace vistrel {
namespace {

using namespace std::string_literals;

std::optional<DecodedPhoto> Load(const std::string& file) {
    // Of exactly its size, so that a sanitizer sees who reads behind it.
    const auto bytes = std::make_unique<std::byte[]>(file.size());
    std::memcpy(bytes.get(), file.data(), file.size());
    return LoadByStb({bytes.get(), file.size()});
}

// Why the file is not loaded: its sentence; "another kind", or "loaded".
std::string Refusal(const std::string& file) {
    try {
        return Load(file) ? "loaded" : "another kind";
    } catch (const PhotoError& error) {
        return error.what();
    }
}

Picture DecodeAsEver(std::string file) {
    struct Close {
        void operator()(std::FILE* opened) const { std::fclose(opened); }
    };
    const std::unique_ptr<std::FILE, Close> opened(fmemopen(file.data(), file.size(), "rb"));
    return DecodePicture(opened.get());
}

template <typename Decoded>
std::vector<std::uint8_t> Bytes(const Decoded& picture, const PixelBuffer& pixels) {
    const auto count = static_cast<std::size_t>(picture.width) *
                       static_cast<std::size_t>(picture.height) * kPixelBytes;
    return {pixels.get(), pixels.get() + count};
}

void ExpectAsEver(const std::string& file) {
    const Picture expected = DecodeAsEver(file);
    const std::optional<DecodedPhoto> photo = Load(file);
    ASSERT_TRUE(photo);
    EXPECT_EQ(photo->format, SampleFormat::Bytes);
    EXPECT_EQ(photo->width, expected.width);
    EXPECT_EQ(photo->height, expected.height);
    EXPECT_EQ(photo->opaque, expected.opaque);
    EXPECT_EQ(Bytes(*photo, photo->samples), Bytes(expected, expected.pixels));
}

std::string Gif(int side) {
    std::string indices;
    for (int i = 0; i < side * side; ++i) indices += static_cast<char>(i % 100);
    std::string palette;
    for (int i = 0; i < 300; ++i) palette += static_cast<char>(i % 100);
    return test::StoredGif(side, side, indices, palette);
}

std::string Hdr(int width, int height) {
    std::string pixels;
    for (int i = 0; i < width * height; ++i) pixels += "\x80\x40\x20\x80"s;
    return test::StoredHdr(width, height, pixels);
}

std::string DeepPng() {
    return test::StoredPng(2, 1, 16, 6, {"\x12\x34\x56\x78\x9A\xBC\xDE\xF0\1\2\3\4\5\6\7\x08"s});
}

struct Kind {
    const char* name;
    std::string (*file)(int side);

    friend void PrintTo(const Kind& kind, std::ostream* stream) { *stream << kind.name; }
};

const Kind kKinds[] = {
    {"Jpeg", [](int side) { return test::EncodeJpeg(test::NoisePicture(side, side), 90); }},
    {"GreyJpeg", [](int side) { return test::EncodeJpeg(test::NoisePicture(side, side), 50, 1); }},
    {"Png", [](int side) { return test::EncodePng(test::NoisePicture(side, side, false)); }},
    {"OpaquePng", [](int side) { return test::EncodePng(test::NoisePicture(side, side), 3); }},
    {"Bmp", [](int side) { return test::EncodeBmp(test::NoisePicture(side, side)); }},
    {"Tga", [](int side) { return test::EncodeTga(test::NoisePicture(side, side, false)); }},
    {"Gif", Gif},
    {"Psd", [](int side) { return test::StoredPsd(test::NoisePicture(side, side, false)); }},
    {"Pic", [](int side) { return test::StoredPic(test::NoisePicture(side, side, false)); }},
    {"Ppm", [](int side) { return test::StoredPpm(test::NoisePicture(side, side)); }},
    {"Pgm", [](int side) { return test::StoredPgm(test::NoisePicture(side, side)); }},
    {"Hdr", [](int side) { return Hdr(side % 7 + 1, side); }},
};

class EveryKind : public testing::TestWithParam<Kind> {
  protected:
    // What a file may lack.
    static std::size_t Trailer() { return GetParam().name == "Gif"s ? 1 : 0; }
};

// Their sizes have any remainder by the size of the blocks in which the decoder reads.
TEST_P(EveryKind, DecodesAsEver) {
    for (int side = 1; side <= 40; ++side) ExpectAsEver(GetParam().file(side));
}

TEST_P(EveryKind, BytesBehindThePictureAreNoneOfIt) {
    for (const std::size_t more : {1U, 127U, 128U, 1000U}) {
        ExpectAsEver(GetParam().file(9) + std::string(more, '\xFF'));
        ExpectAsEver(GetParam().file(9) + std::string(more, '\0'));
    }
}

TEST_P(EveryKind, CutFileIsNoPicture) {
    const std::string file = GetParam().file(12);
    for (std::size_t size = 0; size + Trailer() < file.size(); ++size) {
        const std::string refusal = Refusal(file.substr(0, size));
        ASSERT_NE(refusal, "loaded") << size << " of " << file.size();
    }
}

TEST_P(EveryKind, FileCutInThePixelsIsCutShort) {
    const std::string file = GetParam().file(32);
    EXPECT_EQ(Refusal(file.substr(0, file.size() * 3 / 4)), "It is cut short.");
}

TEST_P(EveryKind, FileWithoutItsLastByteIsCutShort) {
    const std::string file = GetParam().file(32);
    EXPECT_EQ(Refusal(file.substr(0, file.size() - 1 - Trailer())), "It is cut short.");
}

INSTANTIATE_TEST_SUITE_P(Stb, EveryKind, testing::ValuesIn(kKinds),
                         [](const auto& kind) { return std::string(kind.param.name); });

TEST(StbPhoto, OtherFilesAreOfAnotherKind) {
    EXPECT_EQ(Refusal(""), "another kind");
    EXPECT_EQ(Refusal("text"), "another kind");
    EXPECT_EQ(Refusal("RIFF\x24\0\0\0WEBPVP8 "s + std::string(40, '\0')), "another kind");
    EXPECT_EQ(Refusal("\0\0\0\x18"
                      "ftypheic"s +
                      std::string(40, '\0')),
              "another kind");
    EXPECT_EQ(Refusal("II*\0\x08\0\0\0"s + std::string(40, '\0')), "another kind");
    EXPECT_EQ(Refusal("MM\0*\0\0\0\x08"s + std::string(40, '\0')), "another kind");
    EXPECT_EQ(Refusal("\xFF\x0A"s + std::string(40, '\0')), "another kind");
    EXPECT_EQ(Refusal("\0\0\0\x0CJXL \r\n\x87\n"s + std::string(40, '\0')), "another kind");
}

TEST(StbPhoto, DamagedHeadIsToldWithItsReason) {
    std::string png = test::EncodePng(test::NoisePicture(4, 3));
    png[24] = 5;  // bits
    EXPECT_EQ(Refusal(png), "It is damaged, or of a sort that is not read: 1/2/4/8/16-bit only.");
}

TEST(StbPhoto, JpegWithoutItsEndIsCutShort) {
    const std::string jpeg = test::EncodeJpeg(test::NoisePicture(16, 16), 90);
    EXPECT_EQ(Refusal(jpeg.substr(0, jpeg.size() - 2)), "It is cut short.");
}

std::string PngThatClaims(const std::string& size) {
    std::string png = test::EncodePng(test::NoisePicture(4, 3));
    png.replace(16, 8, size);
    return png;
}

TEST(StbPhoto, GiantPictureIsRefusedBeforeMemoryIsTaken) {
    EXPECT_EQ(Refusal(PngThatClaims("\0\0\x3A\x98\0\0\x3A\x98"s)),
              "It has 15000 x 15000 pixels, and at most 200 megapixels are read.");
    // The decoder itself refuses this one.
    EXPECT_EQ(Refusal(PngThatClaims("\0\0\xEA\x60\0\0\xEA\x60"s)),
              "It is too large: at most 200 megapixels are read.");
}

TEST(StbPhoto, GiantPicThatTheDecoderRefusesIsNotDecoded) {
    std::string pic = test::StoredPic(test::NoisePicture(4, 3));
    pic.replace(92, 4, "\x50\0\x50\0"s);
    EXPECT_EQ(Refusal(pic), "another kind");
}

TEST(StbPhoto, PictureWithoutPixelsIsRefused) {
    std::string tga = test::EncodeTga(test::NoisePicture(4, 3));
    tga.replace(12, 2, "\0\0"s);
    EXPECT_NE(Refusal(tga), "loaded");
}

TEST(StbPhoto, DeepPngComesAsEverWithoutColours) {
    ExpectAsEver(DeepPng());
}

TEST(StbPhoto, DeepPngKeepsItsDepthWithColours) {
    const std::optional<DecodedPhoto> photo =
        Load(test::WithPngChunk(DeepPng(), "gAMA", "\0\0\xD9\x04"s));
    ASSERT_TRUE(photo);
    ASSERT_EQ(photo->format, SampleFormat::Words);
    std::uint16_t words[8];
    std::memcpy(words, photo->samples.get(), sizeof(words));
    EXPECT_EQ(words[0], 0x1234);
    EXPECT_EQ(words[3], 0xDEF0);
    EXPECT_EQ(words[7], 0x0708);
    EXPECT_DOUBLE_EQ(photo->colours.gamma, 0.55556);
}

TEST(StbPhoto, DeepPngWithoutConversionIsAsEver) {
    const std::string png = test::WithPngChunk(DeepPng(), "gAMA", "\0\0\xD9\x04"s);
    const Picture picture = ToSrgbPicture(std::move(*Load(png)), false);
    const Picture expected = DecodeAsEver(png);
    EXPECT_EQ(Bytes(picture, picture.pixels), Bytes(expected, expected.pixels));
}

TEST(StbPhoto, ProfileOfAJpegIsHandedOver) {
    const std::string jpeg = test::EncodeJpeg(test::NoisePicture(4, 3), 90);
    const std::string segment = "\xFF\xE2\0\x17ICC_PROFILE\0\1\1profile"s;
    const std::optional<DecodedPhoto> photo = Load(jpeg.substr(0, 2) + segment + jpeg.substr(2));
    ASSERT_TRUE(photo);
    EXPECT_EQ(photo->colours.iccProfile, test::ToBytes("profile"));
}

TEST(StbPhoto, OrientationIsStillToBeApplied) {
    const std::optional<DecodedPhoto> photo = Load(test::EncodePng(test::NoisePicture(4, 3)));
    ASSERT_TRUE(photo);
    EXPECT_TRUE(photo->exifTurns);
    EXPECT_EQ(photo->orientation, 1);
}

}  // namespace
}  // namespace vistrel
