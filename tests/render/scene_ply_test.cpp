// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/scene_ply.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/render/canvas.h"
#include "tests/support/splat_scene_bytes.h"
#include "tests/support/splat_scenes.h"
#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

using test::SceneBytes;
using test::WhiteVertex;

class ScenePly : public testing::Test {
  protected:
    SceneFile Read(const std::string& bytes, int threads = 2) {
        const std::string path = folder_ / "scene.ply";
        std::ofstream(path, std::ios::binary) << bytes;
        return ReadScenePly(path, threads);
    }
    std::string Refusal(const std::string& bytes) {
        try {
            static_cast<void>(Read(bytes));
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "";
    }

    test::TemporaryFolder folder_;
};

// A file with the float properties `names` and records of these values.
std::string PlyOf(const std::vector<std::string>& names, const std::vector<float>& values) {
    std::string bytes = "ply\nformat binary_little_endian 1.0\nelement vertex " +
                        std::to_string(values.size() / names.size()) + "\n";
    for (const std::string& name : names) bytes += "property float " + name + "\n";
    bytes += "end_header\n";
    bytes.append(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(float));
    return bytes;
}

const std::vector<std::string> kNames = {"x",      "y",       "z",       "f_dc_0",  "f_dc_1",
                                         "f_dc_2", "opacity", "scale_0", "scale_1", "scale_2",
                                         "rot_0",  "rot_1",   "rot_2",   "rot_3"};

std::vector<float> ValuesOf(const RawGaussian& gaussian) {
    std::vector<float> values(kRawValues);
    std::memcpy(values.data(), &gaussian, sizeof(gaussian));
    return values;
}

bool AreEqual(const GaussianScene& a, const GaussianScene& b) {
    if (a.Count() != b.Count() || a.Degree() != b.Degree()) return false;
    for (std::size_t plane = 0; plane < kPlanes; ++plane) {
        const float* const ofA = a.Planes().Of(static_cast<Plane>(plane));
        const float* const ofB = b.Planes().Of(static_cast<Plane>(plane));
        if (std::memcmp(ofA, ofB, a.Count() * sizeof(float)) != 0) return false;
    }
    return true;
}

TEST_F(ScenePly, SceneOfTheEngineIsReadWithItsCamera) {
    const std::vector<RawGaussian> gaussians = {WhiteVertex({1, 2, 3}, 0.5F, 0.25F),
                                                WhiteVertex({4, 5, 6}, 0.1F, 0.75F)};
    const SceneFile file = Read(SceneBytes({.vertices = gaussians}));
    EXPECT_TRUE(AreEqual(file.scene, test::PackedScene(gaussians)));
    ASSERT_TRUE(file.camera.has_value());
    EXPECT_EQ(file.camera->focalX, 400.0F);
    EXPECT_EQ(file.camera->centreX, 200.0F);
    EXPECT_EQ(file.camera->centreY, 150.0F);
    EXPECT_EQ(file.camera->width, 400U);
    EXPECT_EQ(file.camera->height, 300U);
}

TEST_F(ScenePly, ManyPiecesOnAnyNumberOfThreadsAreTheSameScene) {
    const std::vector<RawGaussian> gaussians = test::OverlappingGaussians(71);
    const std::string bytes = SceneBytes({.vertices = gaussians});
    const GaussianScene whole = test::PackedScene(gaussians);
    for (const int threads : {1, 2, 5}) EXPECT_TRUE(AreEqual(Read(bytes, threads).scene, whole));
}

TEST_F(ScenePly, EmptySceneIsRead) {
    EXPECT_EQ(Read(SceneBytes({})).scene.Count(), 0U);
}

TEST_F(ScenePly, PropertiesMayHaveAnyOrderAndOthersBetweenThem) {
    const RawGaussian gaussian = WhiteVertex({1, 2, 3}, 0.5F, 0.25F);
    std::vector<std::string> names = {"nx"};
    std::vector<float> values = {7.0F};
    for (std::size_t i = kNames.size(); i-- > 0;) {
        names.push_back(kNames[i]);
        values.push_back(ValuesOf(gaussian)[i]);
    }
    const SceneFile file = Read(PlyOf(names, values));
    EXPECT_TRUE(AreEqual(file.scene, test::PackedScene(std::vector{gaussian})));
    EXPECT_FALSE(file.camera.has_value());
}

TEST_F(ScenePly, RecordsNeedNotBeWholeWords) {
    const RawGaussian gaussian = WhiteVertex({1, 2, 3}, 0.5F, 0.25F);
    std::string bytes = PlyOf(kNames, ValuesOf(gaussian));
    const std::size_t body = bytes.find("end_header\n");
    bytes.insert(bytes.size() - sizeof(gaussian), "!");
    bytes.insert(bytes.find("property float x\n"), "property uchar flag\n");
    ASSERT_NE(body, std::string::npos);
    EXPECT_TRUE(AreEqual(Read(bytes).scene, test::PackedScene(std::vector{gaussian})));
}

TEST_F(ScenePly, ElementsBeforeTheVerticesArePassedOver) {
    const RawGaussian gaussian = WhiteVertex({1, 2, 3}, 0.5F, 0.25F);
    std::string bytes = PlyOf(kNames, ValuesOf(gaussian));
    bytes.insert(bytes.size() - sizeof(gaussian), "abcdef");
    bytes.insert(bytes.find("element vertex"), "element mark 3\nproperty short value\n");
    EXPECT_TRUE(AreEqual(Read(bytes).scene, test::PackedScene(std::vector{gaussian})));
}

TEST_F(ScenePly, ListsBehindTheVerticesArePassedOver) {
    std::string bytes = PlyOf(kNames, ValuesOf(WhiteVertex({1, 2, 3}, 0.5F, 0.25F)));
    bytes.insert(bytes.find("end_header"), "element face 9\nproperty list uchar int index\n");
    EXPECT_EQ(Read(bytes).scene.Count(), 1U);
}

TEST_F(ScenePly, HarmonicsTellTheDegree) {
    for (int degree = 1; degree <= kMostHarmonicsDegree; ++degree) {
        std::vector<std::string> names = kNames;
        std::vector<float> values = ValuesOf(WhiteVertex({0, 0, 2}, 0.5F, 0.9F));
        for (std::size_t i = 0; i < RawValues(degree) - kRawValues; ++i) {
            names.push_back("f_rest_" + std::to_string(i));
            values.push_back(0.0F);
        }
        EXPECT_EQ(Read(PlyOf(names, values)).scene.Degree(), degree);
    }
}

TEST_F(ScenePly, OtherNumbersOfHarmonicsAreRefused) {
    std::vector<std::string> names = kNames;
    names.emplace_back("f_rest_0");
    EXPECT_NE(Refusal(PlyOf(names, std::vector<float>(15, 0.0F))), "");
}

TEST_F(ScenePly, MissingPropertyIsNamed) {
    std::vector<std::string> names = kNames;
    names[9] = "scale_9";
    EXPECT_NE(Refusal(PlyOf(names, std::vector<float>(14, 0.0F))).find("scale_2"),
              std::string::npos);
}

TEST_F(ScenePly, PropertyOfAnotherTypeIsRefused) {
    std::string bytes = PlyOf(kNames, std::vector<float>(14, 0.0F));
    bytes.replace(bytes.find("float opacity"), 5, "int32");
    EXPECT_NE(Refusal(bytes).find("opacity"), std::string::npos);
}

TEST_F(ScenePly, CutFileIsRefused) {
    const std::string bytes = SceneBytes({.vertices = {WhiteVertex({1, 2, 3}, 0.5F, 0.25F)}});
    for (const std::size_t left : {bytes.size() - 1, bytes.size() - 130, std::size_t{300}}) {
        EXPECT_NE(Refusal(bytes.substr(0, left)), "") << left;
    }
}

TEST_F(ScenePly, MoreVerticesThanThereIsMemoryAreRefused) {
    EXPECT_NE(Refusal(SceneBytes({.vertexCount = "4000000000", .vertices = {}})), "");
}

TEST_F(ScenePly, FileWithoutVerticesIsRefused) {
    EXPECT_NE(Refusal("ply\nformat binary_little_endian 1.0\nend_header\n"), "");
}

TEST_F(ScenePly, CameraThatSeesNothingIsRefused) {
    EXPECT_NE(Refusal(SceneBytes({.vertices = {}, .imageSize = {0, 300}})), "");
    EXPECT_NE(Refusal(SceneBytes({.vertices = {}, .intrinsic = {0, 0, 1, 0, 1, 1, 0, 0, 1}})), "");
}

TEST_F(ScenePly, MissingFileAndFolderAreRefused) {
    EXPECT_THROW(static_cast<void>(ReadScenePly(folder_ / "none.ply")), std::runtime_error);
    EXPECT_THROW(static_cast<void>(ReadScenePly(folder_ / "")), std::runtime_error);
}

}  // namespace
}  // namespace vistrel
