// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/splat_picture/splat_ply_reader.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>

#include "tests/support/splat_scene_bytes.h"
#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

using test::SceneBytes;
using test::SceneParts;
using test::TemporaryFolder;
using test::WhiteVertex;

SceneParts TwoVertices() {
    SceneParts parts;
    parts.vertices = {WhiteVertex({1, 2, 3}, 0.5F, 0.5F), WhiteVertex({-4, 5, 6}, 2.0F, 0.25F)};
    return parts;
}

// What is said about a file of these bytes; empty where it is read.
std::string ErrorOf(const std::string& bytes) {
    const TemporaryFolder folder;
    try {
        static_cast<void>(ReadSplatPly(folder.Write("scene.ply", bytes)));
        return "";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

std::string ErrorOfCount(const std::string& count) {
    SceneParts parts = TwoVertices();
    parts.vertexCount = count;
    return ErrorOf(SceneBytes(parts));
}

constexpr const char* kUnusableCount = "the number of vertices in the header is not usable";
constexpr const char* kUnusableCamera = "the camera in the file is not usable";

TEST(SplatPlyReader, VerticesAndCameraComeBack) {
    const TemporaryFolder folder;
    const SplatFile file = ReadSplatPly(folder.Write("scene.ply", SceneBytes(TwoVertices())));
    ASSERT_EQ(file.vertices.size(), 2U);
    EXPECT_EQ(file.vertices[1].position, (std::array<float, 3>{-4, 5, 6}));
    EXPECT_EQ(file.vertices[0].opacityLogit, 0.0F);
    EXPECT_EQ(file.vertices[0].rotation, (std::array<float, 4>{1, 0, 0, 0}));
    EXPECT_EQ(file.focalX, 400.0F);
    EXPECT_EQ(file.centreX, 200.0F);
    EXPECT_EQ(file.centreY, 150.0F);
    EXPECT_EQ(file.width, 400U);
    EXPECT_EQ(file.height, 300U);
}

TEST(SplatPlyReader, SceneWithoutVerticesIsRead) {
    EXPECT_EQ(ErrorOf(SceneBytes({})), "");
}

TEST(SplatPlyReader, MissingFileIsRefused) {
    const TemporaryFolder folder;
    EXPECT_THROW(static_cast<void>(ReadSplatPly(folder / "none.ply")), std::runtime_error);
}

TEST(SplatPlyReader, FileCutAnywhereIsRefused) {
    const std::string whole = SceneBytes(TwoVertices());
    for (std::size_t length = 0; length < whole.size(); length += 7) {
        EXPECT_NE(ErrorOf(whole.substr(0, length)), "") << length;
    }
    EXPECT_EQ(ErrorOf(whole.substr(0, whole.size() - 1)),
              "the file has " + std::to_string(whole.size() - 1) +
                  " bytes, but its header tells of " + std::to_string(whole.size()));
}

TEST(SplatPlyReader, BytesBehindTheEndAreRefused) {
    EXPECT_NE(ErrorOf(SceneBytes(TwoVertices()) + "x"), "");
}

TEST(SplatPlyReader, CountBeyondTheFileIsRefusedBeforeAnythingIsAllocated) {
    EXPECT_NE(ErrorOfCount("2147483647").find("its header tells of"), std::string::npos);
}

TEST(SplatPlyReader, CountThatOverflowsIsRefused) {
    EXPECT_EQ(ErrorOfCount("2147483648"), kUnusableCount);
    EXPECT_EQ(ErrorOfCount("329406144173384853"), kUnusableCount);  // times 56 wraps around
    EXPECT_EQ(ErrorOfCount("99999999999999999999999"), kUnusableCount);
}

TEST(SplatPlyReader, CountThatIsNoNumberIsRefused) {
    EXPECT_EQ(ErrorOfCount("-1"), kUnusableCount);
    EXPECT_EQ(ErrorOfCount("2x"), kUnusableCount);
    EXPECT_EQ(ErrorOfCount(" 2"), kUnusableCount);
    EXPECT_EQ(ErrorOf("ply\nformat binary_little_endian 1.0\nelement vertex \n"), kUnusableCount);
}

TEST(SplatPlyReader, OtherPropertyIsNamedWithItsLine) {
    std::string bytes = SceneBytes(TwoVertices());
    bytes.replace(bytes.find("opacity"), 7, "density");
    EXPECT_EQ(ErrorOf(bytes),
              "not a scene of Vistrel: line 10 of the header should be \"property float opacity\"");
}

TEST(SplatPlyReader, TextFormatIsRefused) {
    std::string bytes = SceneBytes(TwoVertices());
    bytes.replace(bytes.find("binary_little_endian"), 20, "ascii");
    EXPECT_NE(ErrorOf(bytes), "");
}

TEST(SplatPlyReader, FileOfOneEndlessLineIsRefused) {
    EXPECT_NE(ErrorOf("ply\n" + std::string(100000, 'x')), "");
}

TEST(SplatPlyReader, FocalLengthThatIsNoLengthIsRefused) {
    for (const float focal : {0.0F, -400.0F, std::numeric_limits<float>::infinity(),
                              std::numeric_limits<float>::quiet_NaN()}) {
        SceneParts parts = TwoVertices();
        parts.intrinsic[0] = focal;
        EXPECT_EQ(ErrorOf(SceneBytes(parts)), kUnusableCamera) << focal;
    }
}

TEST(SplatPlyReader, PictureWithoutPixelsIsRefused) {
    SceneParts parts = TwoVertices();
    parts.imageSize[1] = 0;
    EXPECT_EQ(ErrorOf(SceneBytes(parts)), kUnusableCamera);
}

}  // namespace
}  // namespace vistrel
