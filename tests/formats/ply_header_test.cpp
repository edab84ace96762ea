// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/ply_header.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace vistrel {
namespace {

const std::string kStart = "ply\nformat binary_little_endian 1.0\n";

TEST(PlyHeader, ElementsAndTheirPropertiesAreListed) {
    const std::string text = kStart +
                             "comment made by hand\nelement vertex 12\nproperty float x\n"
                             "property uchar tint\nproperty double y\nelement other 3\n"
                             "property int n\nend_header\n";
    const PlyHeader header = ParsePlyHeader(text + "binary");
    EXPECT_EQ(header.bytes, text.size());
    ASSERT_EQ(header.elements.size(), 2U);
    const PlyElement& vertex = header.elements[0];
    EXPECT_EQ(vertex.name, "vertex");
    EXPECT_EQ(vertex.count, 12U);
    EXPECT_EQ(vertex.bytes, 13U);
    ASSERT_NE(vertex.Find("y"), nullptr);
    EXPECT_EQ(vertex.Find("y")->offset, 5U);
    EXPECT_EQ(vertex.Find("y")->type, PlyType::Double);
    EXPECT_EQ(vertex.Find("x")->type, PlyType::Float);
    EXPECT_EQ(vertex.Find("z"), nullptr);
    EXPECT_EQ(header.elements[1].name, "other");
}

TEST(PlyHeader, LinesMayEndInCarriageReturns) {
    const PlyHeader header = ParsePlyHeader(
        "ply\r\nformat binary_little_endian 1.0\r\nelement vertex 1\r\nproperty float x\r\n"
        "end_header\r\n");
    EXPECT_NE(header.elements.at(0).Find("x"), nullptr);
}

TEST(PlyHeader, ListsAreNoted) {
    const PlyHeader header = ParsePlyHeader(
        kStart + "element face 1\nproperty list uchar int vertex_indices\nend_header\n");
    EXPECT_TRUE(header.elements.at(0).hasLists);
    EXPECT_EQ(header.elements[0].properties.at(0).listLength, PlyType::UInt8);
}

TEST(PlyHeader, OrderOfBytesIsTold) {
    EXPECT_FALSE(ParsePlyHeader(kStart + "end_header\n").isBigEndian);
    EXPECT_TRUE(ParsePlyHeader("ply\nformat binary_big_endian 1.0\nend_header\n").isBigEndian);
}

class WrongPlyHeader : public testing::TestWithParam<std::string> {};

TEST_P(WrongPlyHeader, IsRefused) {
    EXPECT_THROW(static_cast<void>(ParsePlyHeader(GetParam())), std::runtime_error);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, WrongPlyHeader,
    testing::Values(
        "", "plx\n", "ply\nend_header\n", kStart, kStart + "element vertex 1\n",
        "ply\nformat ascii 1.0\nend_header\n", "ply\nformat binary_odd_endian 1.0\nend_header\n",
        kStart + "element vertex -1\nend_header\n", kStart + "element vertex 1x\nend_header\n",
        kStart + "element vertex 4294967296\nend_header\n", kStart + "element vertex\nend_header\n",
        kStart + "property float x\nend_header\n",
        kStart + "element vertex 1\nproperty half x\nend_header\n",
        kStart + "element face 1\nproperty list float int index\nend_header\n",
        kStart + "element face 1\nproperty list uchar\nend_header\n",
        kStart + "elephant vertex 1\nend_header\n",
        kStart + std::string(kLongestPlyHeader, ' ') + "\nend_header\n"));

}  // namespace
}  // namespace vistrel
