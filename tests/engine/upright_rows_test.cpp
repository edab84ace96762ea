// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/upright_rows.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/plain_image_stage.h"
#include "tests/support/test_pictures.h"

namespace vistrel {
namespace {

std::vector<std::uint8_t> ReadAll(UprightRows& rows) {
    std::vector<std::uint8_t> pixels;
    for (int y = 0; y < rows.Height(); ++y) {
        const std::uint8_t* const row = rows.Row(y);
        pixels.insert(pixels.end(), row, row + (std::ptrdiff_t{rows.Width()} * kPixelBytes));
    }
    return pixels;
}

// The red values of a picture of 3 columns and 2 rows that is decoded as "abc" above "def".
std::string SixPixelsAsSeen(int orientation) {
    test::PlainPicture decoded = test::FilledPicture(3, 2, 0, 0, 0);
    for (std::size_t i = 0; i < 6; ++i) {
        decoded.rgba[4 * i] = static_cast<std::uint8_t>('a' + static_cast<int>(i));
    }
    const Picture picture = test::ToPicture(decoded);
    UprightRows rows(picture, orientation);
    std::string seen;
    for (int y = 0; y < rows.Height(); ++y) {
        if (y > 0) seen += '/';
        for (std::ptrdiff_t x = 0; x < rows.Width(); ++x) {
            seen += static_cast<char>(rows.Row(y)[x * kPixelBytes]);
        }
    }
    return seen;
}

TEST(UprightRows, SixPixelsLieWhereTheTableSays) {
    EXPECT_EQ(SixPixelsAsSeen(1), "abc/def");
    EXPECT_EQ(SixPixelsAsSeen(2), "cba/fed");
    EXPECT_EQ(SixPixelsAsSeen(3), "fed/cba");
    EXPECT_EQ(SixPixelsAsSeen(4), "def/abc");
    EXPECT_EQ(SixPixelsAsSeen(5), "ad/be/cf");
    EXPECT_EQ(SixPixelsAsSeen(6), "da/eb/fc");
    EXPECT_EQ(SixPixelsAsSeen(7), "fc/eb/da");
    EXPECT_EQ(SixPixelsAsSeen(8), "cf/be/ad");
}

TEST(UprightRows, OtherOrientationsLeaveThePictureAsDecoded) {
    for (const int orientation : {0, 9, -1, -32768, 32767, 256 + 6}) {
        EXPECT_EQ(SixPixelsAsSeen(orientation), "abc/def") << orientation;
    }
}

class UprightRowsOfSize : public testing::TestWithParam<std::pair<int, int>> {};

// Sizes below, at, and above whole blocks and whole strips.
INSTANTIATE_TEST_SUITE_P(Sizes, UprightRowsOfSize,
                         testing::Values(std::pair(1, 1), std::pair(1, 300), std::pair(300, 1),
                                         std::pair(3, 5), std::pair(4, 4), std::pair(64, 64),
                                         std::pair(65, 63), std::pair(130, 67), std::pair(67, 131),
                                         std::pair(21, 9001)));

TEST_P(UprightRowsOfSize, EveryPixelIsWhereThePlainWayPutsIt) {
    const auto [width, height] = GetParam();
    const test::PlainPicture decoded = test::NoisePicture(width, height, false);
    const Picture picture = test::ToPicture(decoded);
    for (int orientation = -1; orientation <= 9; ++orientation) {
        const test::PlainPicture expected = test::PlainTurn(decoded, orientation);
        UprightRows rows(picture, orientation);
        ASSERT_EQ(rows.Width(), expected.width) << orientation;
        ASSERT_EQ(rows.Height(), expected.height) << orientation;
        EXPECT_EQ(ReadAll(rows), expected.rgba) << orientation;
    }
}

TEST(UprightRows, AnyOrderOfRowsIsAllowed) {
    const test::PlainPicture decoded = test::NoisePicture(200, 150);
    const Picture picture = test::ToPicture(decoded);
    const test::PlainPicture expected = test::PlainTurn(decoded, 7);
    UprightRows rows(picture, 7);
    for (const int y : {199, 0, 70, 71, 69, 198, 64, 63, 0}) {
        const std::uint8_t* const row = rows.Row(y);
        const auto begin = expected.rgba.begin() + (std::ptrdiff_t{y} * expected.width * 4);
        EXPECT_TRUE(std::equal(begin, begin + (std::ptrdiff_t{expected.width} * 4), row)) << y;
    }
}

}  // namespace
}  // namespace vistrel
