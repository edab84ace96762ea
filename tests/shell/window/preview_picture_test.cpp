// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/preview_picture.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QBuffer>
#include <QImageWriter>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "base/text_encoding.h"
#include "tests/support/exif_bytes.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/test_pictures.h"

namespace vistrel {
namespace {

using test::TemporaryFolder;

constexpr QSize kScreen(1920, 1080);

// 48 x 32 with a colour of its own in each quarter: red, green above, blue, white below.
QImage Quarters() {
    QImage image(48, 32, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const bool right = x >= 24;
            const bool low = y >= 16;
            image.setPixelColor(x, y,
                                low ? (right ? QColor(Qt::white) : QColor(Qt::blue))
                                    : (right ? QColor(Qt::green) : QColor(Qt::red)));
        }
    }
    return image;
}

std::string Encoded(const QImage& image, const char* format) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, format, 95)) throw std::runtime_error("cannot encode");
    return bytes.toStdString();
}

// One letter a quarter: top left, top right, bottom left, bottom right.
std::string Layout(const QImage& image) {
    std::string letters;
    for (const int y : {image.height() / 4, image.height() * 3 / 4}) {
        for (const int x : {image.width() / 4, image.width() * 3 / 4}) {
            const QColor colour = image.pixelColor(x, y);
            const bool red = colour.red() > 128;
            const bool green = colour.green() > 128;
            letters += red && green ? 'W' : red ? 'R' : green ? 'G' : 'B';
        }
    }
    return letters;
}

PreviewPicture Read(const std::filesystem::path& path, const QSize& bound = kScreen) {
    return ReadPreviewPicture(FromPath(path), bound);
}

struct Turn {
    int orientation;
    const char* layout;
    bool onItsSide;
};

class OrientationTest : public testing::TestWithParam<Turn> {};

TEST_P(OrientationTest, PhotographIsTurnedUpright) {
    const TemporaryFolder folder;
    const auto [orientation, layout, onItsSide] = GetParam();
    const auto entry = test::OrientationEntry(static_cast<std::uint16_t>(orientation));
    const auto path = folder.Write(
        "photo.jpg", test::JpegWithExif(Encoded(Quarters(), "jpg"), test::TiffBlock(entry)));
    const PreviewPicture picture = Read(path);
    EXPECT_EQ(picture.size, onItsSide ? QSize(32, 48) : QSize(48, 32));
    EXPECT_EQ(picture.pixels.size(), picture.size);
    EXPECT_EQ(Layout(picture.pixels), layout);
}

TEST_P(OrientationTest, LargePhotographIsTurnedUprightAndShrunk) {
    const TemporaryFolder folder;
    const auto [orientation, layout, onItsSide] = GetParam();
    const auto entry = test::OrientationEntry(static_cast<std::uint16_t>(orientation));
    const QImage large = Quarters().scaled(480, 320);
    const auto path = folder.Write(
        "photo.jpg", test::JpegWithExif(Encoded(large, "jpg"), test::TiffBlock(entry)));
    const PreviewPicture picture = Read(path, QSize(120, 60));
    EXPECT_EQ(picture.size, onItsSide ? QSize(320, 480) : QSize(480, 320));
    EXPECT_EQ(picture.pixels.size(), onItsSide ? QSize(40, 60) : QSize(90, 60));
    EXPECT_EQ(Layout(picture.pixels), layout);
}

INSTANTIATE_TEST_SUITE_P(All, OrientationTest,
                         testing::Values(Turn{0, "RGBW", false}, Turn{1, "RGBW", false},
                                         Turn{2, "GRWB", false}, Turn{3, "WBGR", false},
                                         Turn{4, "BWRG", false}, Turn{5, "RBGW", true},
                                         Turn{6, "BRWG", true}, Turn{7, "WGBR", true},
                                         Turn{8, "GWRB", true}, Turn{9, "RGBW", false}));

TEST(PreviewPicture, OrientationOfAnotherTypeIsIgnored) {
    const TemporaryFolder folder;
    test::ExifEntry entry = test::OrientationEntry(6);
    entry.type = test::kExifByte;
    const auto path = folder.Write(
        "photo.jpg", test::JpegWithExif(Encoded(Quarters(), "jpg"), test::TiffBlock(entry)));
    EXPECT_EQ(Layout(Read(path).pixels), "RGBW");
}

TEST(PreviewPicture, TiffIsTurnedOnce) {
    const TemporaryFolder folder;
    const auto path = folder / "photo.tif";
    QImageWriter writer(QString::fromStdString(path.string()), "tiff");
    writer.setTransformation(QImageIOHandler::TransformationRotate90);
    ASSERT_TRUE(writer.write(Quarters()));
    const PreviewPicture picture = Read(path);
    EXPECT_EQ(picture.size, QSize(32, 48));
    EXPECT_EQ(Layout(picture.pixels), "BRWG");
}

TEST(PreviewPicture, EveryOfferedFormatIsRead) {
    const TemporaryFolder folder;
    for (const char* format : {"jpg", "png", "bmp", "tif"}) {
        const auto path = folder.Write("photo", Encoded(Quarters(), format));
        const PreviewPicture picture = Read(path);
        EXPECT_EQ(picture.size, QSize(48, 32)) << format;
        EXPECT_EQ(Layout(picture.pixels), "RGBW") << format;
    }
}

TEST(PreviewPicture, PngIsReadPixelForPixel) {
    const TemporaryFolder folder;
    const auto path = folder.Write("photo.png", Encoded(Quarters(), "png"));
    EXPECT_EQ(Read(path).pixels, Quarters());
}

TEST(PreviewPicture, TransparencyIsKept) {
    const TemporaryFolder folder;
    const auto path =
        folder.Write("photo.png", test::EncodePng(test::FilledPicture(4, 4, 255, 0, 0, 0)));
    EXPECT_EQ(Read(path).pixels.pixelColor(1, 1).alpha(), 0);
}

TEST(PreviewPicture, NameThatIsNoUtf8IsOpened) {
    const TemporaryFolder folder;
    const auto path = folder.Write("caf\xE9.png", Encoded(Quarters(), "png"));
    EXPECT_EQ(Read(path).size, QSize(48, 32));
}

TEST(PreviewPicture, ThinPictureShrunkToNothingKeepsOneColumn) {
    const TemporaryFolder folder;
    const auto path =
        folder.Write("line.png", test::EncodePng(test::FilledPicture(1, 3000, 9, 9, 9)));
    const PreviewPicture picture = Read(path, QSize(100, 100));
    EXPECT_EQ(picture.size, QSize(1, 3000));
    EXPECT_EQ(picture.pixels.width(), 1);
}

TEST(PreviewPicture, FileThatIsNoPictureGivesNone) {
    const TemporaryFolder folder;
    EXPECT_TRUE(Read(folder.Write("a.jpg", "no picture at all")).pixels.isNull());
    EXPECT_TRUE(Read(folder.Write("b.jpg", "")).pixels.isNull());
    EXPECT_TRUE(Read(folder / "missing.jpg").pixels.isNull());
    EXPECT_TRUE(Read(folder.Path()).pixels.isNull());
}

TEST(PreviewPicture, TruncatedHeaderGivesNone) {
    const TemporaryFolder folder;
    const auto path = folder.Write("a.png", Encoded(Quarters(), "png").substr(0, 30));
    EXPECT_TRUE(Read(path).pixels.isNull());
}

TEST(PreviewPicture, PipeThatNobodyWritesToIsNotWaitedFor) {
    const TemporaryFolder folder;
    const auto path = folder / "pipe.jpg";
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    EXPECT_TRUE(Read(path).pixels.isNull());
}

// All black, one bit a pixel; the pixels are a hole in the file.
std::filesystem::path BlackBitmap(const TemporaryFolder& folder, std::uint32_t width,
                                  std::uint32_t height) {
    constexpr std::uint32_t kPixelsAt = 62;
    const std::uint32_t bytes = (width + 31) / 32 * 4 * height;
    std::string header = "BM";
    const auto put = [&header](std::uint32_t value, int count) {
        for (int i = 0; i < count; ++i) header += static_cast<char>((value >> (8 * i)) & 0xFF);
    };
    for (const std::uint32_t value : {kPixelsAt + bytes, 0U, kPixelsAt, 40U, width, height}) {
        put(value, 4);
    }
    put(1, 2);  // planes
    put(1, 2);  // bits
    for (const std::uint32_t value : {0U, bytes, 0U, 0U, 2U, 2U, 0U, 0xFFFFFFU}) put(value, 4);
    const auto path = folder.Write("black.bmp", header);
    std::filesystem::resize_file(path, kPixelsAt + bytes);
    return path;
}

TEST(PreviewPicture, LargePhotographIsRead) {
    const TemporaryFolder folder;
    const PreviewPicture picture = Read(BlackBitmap(folder, 4000, 3000));
    EXPECT_EQ(picture.size, QSize(4000, 3000));
    EXPECT_EQ(picture.pixels.size(), QSize(1440, 1080));
}

TEST(PreviewPicture, OfTooManyPixelsOnlyTheNumberIsTold) {
    const TemporaryFolder folder;
    const PreviewPicture picture = Read(BlackBitmap(folder, 20'000, 10'001));
    EXPECT_EQ(picture.size, QSize(20'000, 10'001));
    EXPECT_TRUE(picture.pixels.isNull());
}

struct Place {
    QSize picture;
    QSize area;
    QRect rectangle;
};

class RectangleTest : public testing::TestWithParam<Place> {};

TEST_P(RectangleTest, PictureLiesInTheMiddle) {
    const auto [picture, area, rectangle] = GetParam();
    EXPECT_EQ(PreviewRectangle(picture, area), rectangle);
}

INSTANTIATE_TEST_SUITE_P(All, RectangleTest,
                         testing::Values(
                             // Small: its own size; odd rests are cut.
                             Place{{100, 50}, {910, 700}, {405, 325, 100, 50}},
                             Place{{101, 51}, {910, 700}, {404, 324, 101, 51}},
                             Place{{910, 700}, {910, 700}, {0, 0, 910, 700}},
                             // Taller than the window.
                             Place{{3000, 4000}, {910, 700}, {192, 0, 525, 700}},
                             // Wider.
                             Place{{4000, 3000}, {910, 700}, {0, 9, 910, 682}},
                             Place{{4000, 3000}, {1200, 700}, {133, 0, 933, 700}},
                             // Single precision makes 4.9999995 of 1/3 * 15.
                             Place{{3, 9}, {100, 3}, {49, 0, 1, 3}},
                             // A line vanishes.
                             Place{{1, 3000}, {910, 700}, {455, 0, 0, 700}},
                             Place{{100, 100}, {0, 700}, {}}, Place{{0, 0}, {910, 700}, {}}));

TEST(PreviewRectangle, SinglePrecisionDecidesAboutThePixel) {
    int differing = 0;
    for (int width = 1000; width < 6000; ++width) {
        const QRect place = PreviewRectangle({width, 10}, {910, 700});
        const float scale = 910.0F / static_cast<float>(width);
        EXPECT_EQ(place.width(), static_cast<int>(scale * static_cast<float>(width)));
        if (place.width() != 910) ++differing;
    }
    EXPECT_GT(differing, 0);
}

}  // namespace
}  // namespace vistrel
