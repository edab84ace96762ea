// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "render/pictures/jpeg_encoding.h"
#include "render/pictures/png_encoding.h"
#include "render/pictures/stereo_jpeg.h"
#include "render/pictures/webp_encoding.h"
#include "tests/render/pictures/sample_pictures.h"

namespace vistrel {
namespace {

using test::Gradient;

// What `work` fails with; empty where it does not.
template <typename Work>
std::string ErrorOf(const Work& work) {
    try {
        static_cast<void>(work());
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "";
}

bool Names(const std::string& text, const std::string& word) {
    return text.find(word) != std::string::npos;
}

TEST(EncodingLimits, LongestSidesOfJpeg) {
    EXPECT_EQ(ErrorOf([] { return EncodeJpeg(Gradient(65500, 1, 0)); }), "");
    EXPECT_TRUE(Names(ErrorOf([] { return EncodeJpeg(Gradient(65501, 1, 0)); }), "65500"));
    EXPECT_TRUE(Names(ErrorOf([] { return EncodeJpeg(Gradient(1, 65501, 0)); }), "65500"));
}

TEST(EncodingLimits, LongestSidesOfWebp) {
    EXPECT_EQ(ErrorOf([] { return EncodeWebp(Gradient(16383, 1, 0), 50); }), "");
    EXPECT_TRUE(Names(ErrorOf([] { return EncodeWebp(Gradient(16384, 1, 0), 50); }), "16383"));
    EXPECT_TRUE(Names(ErrorOf([] { return EncodeWebp(Gradient(1, 16384, 0), 50); }), "16383"));
}

TEST(EncodingLimits, LongestSidesOfWhatIsDrawnFitPng) {
    EXPECT_EQ(ErrorOf([] { return EncodePng(Gradient(kLargestPictureSide, 1, 0)); }), "");
    EXPECT_EQ(ErrorOf([] { return EncodePng(Gradient(1, kLargestPictureSide, 0)); }), "");
}

TEST(EncodingLimits, NoPixels) {
    EXPECT_NE(ErrorOf([] { return EncodePng(Picture()); }), "");
    EXPECT_NE(ErrorOf([] { return EncodeJpeg(Picture()); }), "");
    EXPECT_NE(ErrorOf([] { return EncodeWebp(Picture(), 50); }), "");
}

TEST(EncodingLimits, EyesOfTwoSizes) {
    const EyePictures eyes{Gradient(8, 8, 0), Gradient(8, 9, 0)};
    EXPECT_THROW(static_cast<void>(EncodeJps(eyes)), std::invalid_argument);
    EXPECT_THROW(static_cast<void>(EncodeMpo(eyes, 0.1F)), std::invalid_argument);
}

TEST(EncodingLimits, SegmentThatIsTooLong) {
    const JpegSegment longest{5, std::vector<std::byte>(65533)};
    const JpegSegment longer{5, std::vector<std::byte>(65534)};
    EXPECT_EQ(ErrorOf([&] { return EncodeJpeg(Gradient(8, 8, 0), 50, {{longest}}); }), "");
    EXPECT_NE(ErrorOf([&] { return EncodeJpeg(Gradient(8, 8, 0), 50, {{longer}}); }), "");
}

TEST(EncodingLimits, BetterQualityMeansMoreBytes) {
    const Picture picture = Gradient(64, 64, 7);
    EXPECT_LT(EncodeJpeg(picture, 20).size(), EncodeJpeg(picture, 95).size());
    EXPECT_LT(EncodeWebp(picture, 20).size(), EncodeWebp(picture, 95).size());
}

}  // namespace
}  // namespace vistrel
