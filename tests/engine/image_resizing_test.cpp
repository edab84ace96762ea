// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/image_resizing.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <utility>
#include <vector>

#include "engine/image_resampler.h"
#include "tests/support/plain_image_stage.h"
#include "tests/support/test_pictures.h"

namespace vistrel {
namespace {

struct Square {
    std::size_t rowBytes = 0;
    std::vector<std::uint8_t> pixels;
    std::vector<int> timesWritten;
};

const std::uint8_t* ReadRow(void* picture, int y) noexcept {
    const auto& source = *static_cast<test::PlainPicture*>(picture);
    return source.rgba.data() + (static_cast<std::ptrdiff_t>(y) * source.width * 4);
}

void WriteRow(void* context, int y, const std::uint8_t* pixels) noexcept {
    auto& square = *static_cast<Square*>(context);
    const auto row = static_cast<std::size_t>(y);
    ++square.timesWritten[row];
    std::copy_n(pixels, square.rowBytes,
                square.pixels.begin() + static_cast<std::ptrdiff_t>(row * square.rowBytes));
}

template <typename Resize>
Square Collect(test::PlainPicture picture, bool opaque, int side, const Resize& resize) {
    Square square;
    square.rowBytes = static_cast<std::size_t>(side) * 4;
    square.pixels.resize(square.rowBytes * static_cast<std::size_t>(side));
    square.timesWritten.resize(static_cast<std::size_t>(side));
    resize(RowSource{ReadRow, &picture, picture.width, picture.height, opaque}, side,
           RowSink{WriteRow, &square});
    return square;
}

// By as many threads.
auto ResizingOn(std::size_t threads) {
    return [threads](const RowSource& source, int side, const RowSink& sink) {
        ResizeToSquare(std::vector<RowSource>(threads, source), side, sink);
    };
}

auto ResamplingBy(Resampler* resample) {
    return [resample](const RowSource& source, int side, const RowSink& sink) {
        EXPECT_TRUE(resample(source, side, sink, Share()));
    };
}

std::vector<std::uint8_t> Resized(const test::PlainPicture& picture, bool opaque, int side) {
    return Collect(picture, opaque, side, ResizingOn(1)).pixels;
}

class ResizeOfShape : public testing::TestWithParam<std::pair<int, int>> {};

// Growing, shrinking, both at once; shapes for which the library's order of the two directions
// depends on whether it carries unweighted colours along (706 x 595, 1335 x 1039, 1076 x 1335).
INSTANTIATE_TEST_SUITE_P(Shapes, ResizeOfShape,
                         testing::Values(std::pair(1, 1), std::pair(1, 2000), std::pair(2000, 1),
                                         std::pair(3, 5), std::pair(149, 151), std::pair(151, 149),
                                         std::pair(300, 300), std::pair(600, 400),
                                         std::pair(400, 600), std::pair(706, 595),
                                         std::pair(1335, 1039), std::pair(1076, 1335),
                                         std::pair(40, 700), std::pair(700, 40),
                                         std::pair(200, 1600), std::pair(1600, 200),
                                         std::pair(450, 150)));

TEST_P(ResizeOfShape, OpaquePictureComesOutAsFromTheLibrarysOneCall) {
    const auto [width, height] = GetParam();
    const test::PlainPicture picture = test::NoisePicture(width, height);
    const std::vector<std::uint8_t> expected = test::PlainResize(picture, 150).rgba;
    EXPECT_EQ(Resized(picture, true, 150), expected);
    EXPECT_EQ(Resized(picture, false, 150), expected);
}

TEST_P(ResizeOfShape, TransparentPictureComesOutAsFromTheLibrarysOneCall) {
    const auto [width, height] = GetParam();
    const test::PlainPicture picture = test::NoisePicture(width, height, false);
    EXPECT_EQ(Resized(picture, false, 150), test::PlainResize(picture, 150).rgba);
}

TEST_P(ResizeOfShape, BothInstructionSetsGiveTheSameBytes) {
    const auto [width, height] = GetParam();
    for (const bool opaque : {true, false}) {
        const test::PlainPicture picture = test::NoisePicture(width, height, opaque);
        const auto expected = Collect(picture, opaque, 150, ResamplingBy(&ResampleBaseline)).pixels;
        // On a processor without AVX2 there is only one of them, and this compares it with itself.
        Resampler* const other =
            __builtin_cpu_supports("avx2") != 0 ? &ResampleAvx2 : &ResampleBaseline;
        EXPECT_EQ(Collect(picture, opaque, 150, ResamplingBy(other)).pixels, expected) << opaque;
    }
}

TEST_P(ResizeOfShape, ThreadsGiveTheSameBytes) {
    const auto [width, height] = GetParam();
    for (const bool opaque : {true, false}) {
        const test::PlainPicture picture = test::NoisePicture(width, height, opaque);
        const auto expected = Resized(picture, opaque, 150);
        for (const std::size_t threads : {2U, 3U, 7U}) {
            EXPECT_EQ(Collect(picture, opaque, 150, ResizingOn(threads)).pixels, expected)
                << threads << ' ' << opaque;
        }
    }
}

TEST(ResizeToSquare, EveryRowIsWrittenOnce) {
    for (const std::size_t threads : {1U, 2U, 40U}) {
        const Square square = Collect(test::NoisePicture(37, 990), true, 100, ResizingOn(threads));
        EXPECT_EQ(square.timesWritten, std::vector<int>(100, 1)) << threads;
    }
}

TEST(ResizeToSquare, ColourOfVanishingAlphaDoesNotBleed) {
    test::PlainPicture picture = test::FilledPicture(40, 40, 10, 20, 30);
    for (std::size_t i = 0; i < picture.rgba.size() / 2; i += 4) {
        picture.rgba[i] = 255;
        picture.rgba[i + 3] = 0;
    }
    const std::vector<std::uint8_t> resized = Resized(picture, false, 10);
    const std::size_t lastRow = 9 * 10 * 4;
    EXPECT_EQ(resized[lastRow], 10);
    EXPECT_EQ(resized[lastRow + 3], 255);
    const std::size_t middleRow = 5 * 10 * 4;
    EXPECT_EQ(resized[middleRow], 10);
}

TEST(ResizeToSquare, ImpossibleSizeIsRefused) {
    try {
        ResizeToSquare(std::vector{RowSource{ReadRow, nullptr, 0, 0, true}}, 10,
                       {WriteRow, nullptr});
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "stb_image_resize failed");
    }
}

}  // namespace
}  // namespace vistrel
