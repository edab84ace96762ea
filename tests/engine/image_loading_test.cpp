// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/image_loading.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "base/text_encoding.h"
#include "tests/support/picture_formats.h"
#include "tests/support/plain_image_stage.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/test_pictures.h"

namespace vistrel {
namespace {

constexpr char kBlue[] = "\x00\x00\x64";
constexpr char kRed[] = "\x7D\x00\x00";
constexpr std::size_t kPlane = std::size_t{kNetworkSide} * kNetworkSide;

class ImageLoading : public testing::Test {
  protected:
    [[nodiscard]] std::filesystem::path Write(const std::string& bytes,
                                              const std::string& name = "picture") const {
        return folder_.Write(name, bytes);
    }
    [[nodiscard]] PreprocessedImage Load(const std::string& bytes, int orientation = 1) const {
        return LoadAndPreprocess(FromPath(Write(bytes)), orientation);
    }
    [[nodiscard]] const test::TemporaryFolder& Folder() const { return folder_; }

  private:
    test::TemporaryFolder folder_;
};

std::string LoadingFailure(const std::filesystem::path& path) {
    try {
        const PreprocessedImage image = LoadAndPreprocess(FromPath(path), 1);
        return "none";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

std::array<float, 3> PixelAt(const PreprocessedImage& image, std::size_t column, std::size_t row) {
    const std::size_t i = (row * kNetworkSide) + column;
    return {image.tensor[i], image.tensor[kPlane + i], image.tensor[(2 * kPlane) + i]};
}

TEST_F(ImageLoading, SquareOfTheNetworksSizeIsNotResampled) {
    test::PlainPicture picture = test::NoisePicture(kNetworkSide, kNetworkSide, false);
    const std::array<std::uint8_t, 4> first = {255, 128, 0, 77};
    std::copy(first.begin(), first.end(), picture.rgba.begin());
    const PreprocessedImage image = Load(test::EncodeTga(picture));

    EXPECT_EQ(PixelAt(image, 0, 0), (std::array{1.0F, 128.0F / 255.0F, 0.0F}));
    std::size_t different = 0;
    for (std::size_t i = 0; i < kPlane; ++i) {
        for (std::size_t channel = 0; channel < 3; ++channel) {
            const float expected = static_cast<float>(picture.rgba[(4 * i) + channel]) / 255.0F;
            if (image.tensor[(channel * kPlane) + i] != expected) ++different;
        }
    }
    EXPECT_EQ(different, 0U);
}

TEST_F(ImageLoading, SquareOfTheNetworksSizeIsTurnedAllTheSame) {
    const std::string tga = test::EncodeTga(test::NoisePicture(kNetworkSide, kNetworkSide));
    const std::filesystem::path path = Write(tga);
    for (const int orientation : {3, 6}) {
        const PreprocessedImage image = LoadAndPreprocess(FromPath(path), orientation);
        EXPECT_TRUE(image.tensor == test::PlainLoadAndPreprocess(path, orientation).tensor);
    }
}

TEST_F(ImageLoading, AllValuesAreDividedBy255) {
    test::PlainPicture picture = test::FilledPicture(kNetworkSide, kNetworkSide, 0, 0, 0);
    for (std::size_t i = 0; i < 256; ++i) {
        picture.rgba[4 * i] = static_cast<std::uint8_t>(i);
        picture.rgba[(4 * i) + 1] = static_cast<std::uint8_t>(255 - i);
        picture.rgba[(4 * i) + 2] = static_cast<std::uint8_t>(i ^ 85U);
    }
    const PreprocessedImage image = Load(test::EncodeTga(picture));
    for (std::size_t i = 0; i < 256; ++i) {
        const std::array expected = {static_cast<float>(i) / 255.0F,
                                     static_cast<float>(255 - i) / 255.0F,
                                     static_cast<float>(i ^ 85U) / 255.0F};
        EXPECT_EQ(PixelAt(image, i, 0), expected) << i;
    }
}

TEST_F(ImageLoading, LandscapePhotographTurnedByAQuarterIsAPortrait) {
    std::string row;
    for (int x = 0; x < 4000; ++x) row.append(x < 2000 ? kBlue : kRed, 3);
    std::string file = "P6\n4000 3000\n255\n";
    for (int y = 0; y < 3000; ++y) file += row;
    const PreprocessedImage image = Load(file, 6);
    EXPECT_EQ(image.width, 3000);
    EXPECT_EQ(image.height, 4000);
    EXPECT_EQ(image.focalPx, 3000.0F);
    ASSERT_EQ(image.tensor.size(), 3 * kPlane);
    const std::array blue = {0.0F, 0.0F, 100 / 255.0F};
    const std::array red = {125 / 255.0F, 0.0F, 0.0F};
    EXPECT_EQ(PixelAt(image, 0, 0), blue);
    EXPECT_EQ(PixelAt(image, 1535, 760), blue);
    EXPECT_EQ(PixelAt(image, 0, 775), red);
    EXPECT_EQ(PixelAt(image, 1535, 1535), red);
}

TEST_F(ImageLoading, TurnedPicturesGiveTheTensorOfThePlainWay) {
    const std::filesystem::path path =
        Write(test::EncodeJpeg(test::PhotoLikePicture(431, 307), 85));
    for (const int orientation : {-1, 1, 2, 3, 6, 7, 9}) {
        const PreprocessedImage image = LoadAndPreprocess(FromPath(path), orientation);
        const PreprocessedImage expected = test::PlainLoadAndPreprocess(path, orientation);
        EXPECT_EQ(image.width, expected.width) << orientation;
        EXPECT_EQ(image.height, expected.height) << orientation;
        EXPECT_EQ(image.focalPx, expected.focalPx) << orientation;
        EXPECT_TRUE(image.tensor == expected.tensor) << orientation;
    }
}

TEST_F(ImageLoading, TransparentPictureGivesTheTensorOfThePlainWay) {
    const std::filesystem::path path =
        Write(test::EncodePng(test::NoisePicture(431, 307, false), 4));
    const PreprocessedImage image = LoadAndPreprocess(FromPath(path), 8);
    EXPECT_TRUE(image.tensor == test::PlainLoadAndPreprocess(path, 8).tensor);
}

TEST_F(ImageLoading, LargerSquareIsResampled) {
    const std::filesystem::path path = Write(test::EncodeTga(test::NoisePicture(1537, 1537), 3));
    const PreprocessedImage image = LoadAndPreprocess(FromPath(path), 1);
    EXPECT_EQ(image.width, 1537);
    EXPECT_TRUE(image.tensor == test::PlainLoadAndPreprocess(path, 1).tensor);
}

TEST_F(ImageLoading, GreyPictureFillsAllPlanesAlike) {
    const PreprocessedImage image = Load(test::StoredPgm(test::NoisePicture(30, 20)));
    const auto plane = [&](std::size_t i) {
        const auto begin = image.tensor.begin() + static_cast<std::ptrdiff_t>(i * kPlane);
        return std::vector<float>(begin, begin + kPlane);
    };
    EXPECT_TRUE(plane(0) == plane(1));
    EXPECT_TRUE(plane(0) == plane(2));
}

TEST_F(ImageLoading, OnePixelFillsTheSquare) {
    const PreprocessedImage image = Load(test::EncodePng(test::FilledPicture(1, 1, 255, 128, 0)));
    EXPECT_EQ(image.width, 1);
    EXPECT_EQ(image.height, 1);
    EXPECT_EQ(image.focalPx, 1.0F);
    const std::array expected = {1.0F, 128.0F / 255.0F, 0.0F};
    EXPECT_EQ(PixelAt(image, 0, 0), expected);
    EXPECT_EQ(PixelAt(image, 1535, 1535), expected);
}

TEST_F(ImageLoading, ExtremeShapesAreStretched) {
    for (const bool wide : {true, false}) {
        const int width = wide ? 20000 : 1;
        const int height = wide ? 1 : 20000;
        const std::filesystem::path path =
            Write(test::StoredPpm(test::NoisePicture(width, height)));
        const PreprocessedImage image = LoadAndPreprocess(FromPath(path), 5);
        EXPECT_EQ(image.width, height);
        EXPECT_EQ(image.height, width);
        EXPECT_TRUE(image.tensor == test::PlainLoadAndPreprocess(path, 5).tensor);
    }
}

TEST_F(ImageLoading, HundredMegapixelsAreLoaded) {
    constexpr std::size_t kSide = 10000;
    std::string file = "P5\n10000 10000\n255\n";
    file.append(kSide * kSide, '\x80');
    const PreprocessedImage image = Load(file, 6);
    EXPECT_EQ(image.width, 10000);
    EXPECT_EQ(image.height, 10000);
    const float expected = 128.0F / 255.0F;
    EXPECT_EQ(image.tensor, AlignedVector<float>(3 * kPlane, expected));
}

TEST_F(ImageLoading, OneLineTellsWhatWasLoaded) {
    const std::filesystem::path path =
        Write(test::StoredPpm(test::NoisePicture(4, 3)), "\xE5\x86\x99\xE7\x9C\x9F \xFF#1.ppm");
    testing::internal::CaptureStdout();
    const PreprocessedImage image = LoadAndPreprocess(FromPath(path), 6);
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "INFO -   Loaded image: " + path.native() + "  orig=3x4  input=1536x1536\n");
}

TEST_F(ImageLoading, MissingFileIsNamedAsSuch) {
    EXPECT_EQ(LoadingFailure(Folder() / "missing.jpg"), "Failed to open file for stb_image");
    EXPECT_EQ(LoadingFailure(""), "Failed to open file for stb_image");
    EXPECT_EQ(LoadingFailure(Write("a file") / "below.jpg"), "Failed to open file for stb_image");
}

TEST_F(ImageLoading, FolderIsNoPicture) {
    EXPECT_EQ(LoadingFailure(Folder().Path()), "stb_image failed to load (unknown image type)");
}

TEST_F(ImageLoading, DecodersReasonIsHandedOn) {
    EXPECT_EQ(LoadingFailure(Write("")), "stb_image failed to load (unknown image type)");
    EXPECT_EQ(LoadingFailure(Write(test::StoredPng(60000, 60000, 8, 2, {"abc"}))),
              "stb_image failed to load (too large)");
}

TEST_F(ImageLoading, FailureLogsNothing) {
    const std::filesystem::path path = Write("no picture");
    testing::internal::CaptureStdout();
    EXPECT_NE(LoadingFailure(path), "none");
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(ImageLoading, TwoThreadsMayLoadAtOnce) {
    const std::filesystem::path first = Write(test::EncodePng(test::NoisePicture(90, 70)), "1");
    const std::filesystem::path second = Write(test::EncodePng(test::NoisePicture(50, 110)), "2");
    PreprocessedImage loaded;
    std::string failure;
    {
        const std::jthread other([&] {
            loaded = LoadAndPreprocess(FromPath(first), 6);
            failure = LoadingFailure(Folder() / "missing");
        });
        const PreprocessedImage here = LoadAndPreprocess(FromPath(second), 3);
        EXPECT_TRUE(here.tensor == test::PlainLoadAndPreprocess(second, 3).tensor);
        EXPECT_EQ(LoadingFailure(Write("no picture", "3")),
                  "stb_image failed to load (unknown image type)");
    }
    EXPECT_TRUE(loaded.tensor == test::PlainLoadAndPreprocess(first, 6).tensor);
    EXPECT_EQ(failure, "Failed to open file for stb_image");
}

}  // namespace
}  // namespace vistrel
