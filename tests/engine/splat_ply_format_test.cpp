// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/splat_ply_format.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>

namespace vistrel {
namespace {

TEST(SplatPlyFormat, HeaderByteForByte) {
    EXPECT_EQ(SplatPlyHeader(3),
              "ply\n"
              "format binary_little_endian 1.0\n"
              "element vertex 3\n"
              "property float x\n"
              "property float y\n"
              "property float z\n"
              "property float f_dc_0\n"
              "property float f_dc_1\n"
              "property float f_dc_2\n"
              "property float opacity\n"
              "property float scale_0\n"
              "property float scale_1\n"
              "property float scale_2\n"
              "property float rot_0\n"
              "property float rot_1\n"
              "property float rot_2\n"
              "property float rot_3\n"
              "element extrinsic 16\n"
              "property float extrinsic\n"
              "element intrinsic 9\n"
              "property float intrinsic\n"
              "element image_size 2\n"
              "property uint image_size\n"
              "element frame 2\n"
              "property int frame\n"
              "element disparity 2\n"
              "property float disparity\n"
              "element color_space 1\n"
              "property uchar color_space\n"
              "element version 3\n"
              "property uchar version\n"
              "end_header\n");
}

TEST(SplatPlyFormat, CountIsPlainDecimal) {
    EXPECT_NE(SplatPlyHeader(0).find("element vertex 0\n"), std::string::npos);
    EXPECT_NE(SplatPlyHeader(1'179'648).find("element vertex 1179648\n"), std::string::npos);
    EXPECT_NE(SplatPlyHeader(2'147'483'647).find("element vertex 2147483647\n"), std::string::npos);
}

TEST(SplatPlyFormat, VertexIsFourteenFloats) {
    EXPECT_EQ(kVertexFloats, 14U);
    EXPECT_EQ(kVertexBytes, 56U);
}

void AppendNumber(std::string& bytes, std::uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8) {
        bytes.push_back(static_cast<char>(value >> shift & 0xFF));
    }
}

void AppendFloats(std::string& bytes, std::initializer_list<float> values) {
    for (const float value : values) AppendNumber(bytes, std::bit_cast<std::uint32_t>(value));
}

TEST(SplatPlyFormat, CameraByteForByte) {
    std::string expected;
    AppendFloats(expected, {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
    AppendFloats(expected, {1234.5F, 0, 3000.5F, 0, 1234.5F, 2000.0F, 0, 0, 1});
    for (const std::uint32_t value : {6001U, 4000U, 1U, 1'179'648U}) AppendNumber(expected, value);
    AppendFloats(expected, {0.125F, 0.75F});
    expected += std::string("\1\1\5\0", 4);
    EXPECT_EQ(SplatPlyCamera({1234.5F, 6001, 4000, 1'179'648, {0.125F, 0.75F}}), expected);
}

// Sizes that no float holds are rounded before they are halved.
TEST(SplatPlyFormat, HugePictureSizeIsRoundedToAFloat) {
    const std::string camera = SplatPlyCamera({1.0F, 16'777'219, 4'294'967'295, 0, {}});
    std::string expected;
    AppendFloats(expected, {1.0F, 0, 8'388'610.0F, 0, 1.0F, 2'147'483'648.0F, 0, 0, 1});
    AppendNumber(expected, 16'777'219);
    AppendNumber(expected, 4'294'967'295);
    EXPECT_EQ(camera.substr(64, expected.size()), expected);
}

TEST(SplatPlyFormat, CameraHasNoPadding) {
    EXPECT_EQ(SplatPlyCamera({}).size(), 64 + 36 + 8 + 8 + 8 + 4);
}

}  // namespace
}  // namespace vistrel
