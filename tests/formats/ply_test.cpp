// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/ply.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "formats/ply_header.h"
#include "tests/formats/scene_files.h"
#include "tests/support/splat_scene_bytes.h"

namespace vistrel {
namespace {

using test::FileOf;
using test::SceneBytes;
using test::SceneOf;
using test::WhiteVertex;

RawScene ReadBack(const std::string& bytes, int threads = 2) {
    return SceneOf(ReadPly, bytes, ".ply", threads);
}

std::string PlyRefusal(const std::string& bytes) {
    return test::RefusalOf(ReadPly, bytes, ".ply");
}

// A file with the float properties `names` and records of these values.
std::string PlyOf(const std::vector<std::string>& names, const std::vector<float>& values) {
    std::string bytes = "ply\nformat binary_little_endian 1.0\nelement vertex " +
                        std::to_string(values.size() / names.size()) + "\n";
    for (const std::string& name : names) bytes += "property float " + name + "\n";
    bytes += "end_header\n";
    test::AppendBytes(bytes, values);
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

// Names and values of a vertex with harmonics 0, 1, 2 ...
std::string PlyWithHarmonics(std::size_t coefficients) {
    std::vector<std::string> names = kNames;
    std::vector<float> values = ValuesOf(WhiteVertex({0, 0, 2}, 0.5F, 0.9F));
    for (std::size_t i = 0; i < coefficients; ++i) {
        names.push_back("f_rest_" + std::to_string(i));
        values.push_back(static_cast<float>(i));
    }
    return PlyOf(names, values);
}

bool HasValues(const RawScene& scene, std::size_t place, const std::vector<float>& values) {
    for (std::size_t row = 0; row < values.size(); ++row) {
        if (scene.Row(row)[place] != values[row]) return false;
    }
    return values.size() == RawValues(scene.Degree());
}

bool IsOnly(const RawScene& scene, const RawGaussian& gaussian) {
    return scene.Count() == 1 && HasValues(scene, 0, ValuesOf(gaussian));
}

bool HaveEqualBits(const RawScene& a, const RawScene& b) {
    if (a.Count() != b.Count() || a.Degree() != b.Degree()) return false;
    for (std::size_t row = 0; row < RawValues(a.Degree()); ++row) {
        if (std::memcmp(a.Row(row), b.Row(row), a.Count() * sizeof(float)) != 0) return false;
    }
    return true;
}

TEST(Ply, SceneOfTheEngineIsReadWithItsCamera) {
    const std::vector<RawGaussian> gaussians = {WhiteVertex({1, 2, 3}, 0.5F, 0.25F),
                                                WhiteVertex({4, 5, 6}, 0.1F, 0.75F)};
    const RawScene scene = ReadBack(SceneBytes({.vertices = gaussians}));
    ASSERT_EQ(scene.Count(), 2U);
    EXPECT_TRUE(HasValues(scene, 0, ValuesOf(gaussians[0])));
    EXPECT_TRUE(HasValues(scene, 1, ValuesOf(gaussians[1])));
    const std::optional<PhotographCamera> camera = scene.Facts().camera;
    ASSERT_TRUE(camera.has_value());
    EXPECT_EQ(camera->focalX, 400.0F);
    EXPECT_EQ(camera->centreX, 200.0F);
    EXPECT_EQ(camera->centreY, 150.0F);
    EXPECT_EQ(camera->width, 400U);
    EXPECT_EQ(camera->height, 300U);
}

TEST(Ply, ManyPiecesOnAnyNumberOfThreadsAreTheSameScene) {
    const RawScene scene = test::VariedScene(10007, 1);
    const std::string bytes = FileOf(WritePly, scene);
    for (const int threads : {1, 2, 5}) {
        EXPECT_TRUE(HaveEqualBits(ReadBack(bytes, threads), scene));
        EXPECT_EQ(FileOf(WritePly, scene, threads), bytes);
    }
}

TEST(Ply, EmptySceneIsRead) {
    EXPECT_EQ(ReadBack(SceneBytes({})).Count(), 0U);
}

TEST(Ply, PropertiesMayHaveAnyOrderAndOthersBetweenThem) {
    const RawGaussian gaussian = WhiteVertex({1, 2, 3}, 0.5F, 0.25F);
    std::vector<std::string> names = {"nx"};
    std::vector<float> values = {7.0F};
    for (std::size_t i = kNames.size(); i-- > 0;) {
        names.push_back(kNames[i]);
        values.push_back(ValuesOf(gaussian)[i]);
    }
    const RawScene scene = ReadBack(PlyOf(names, values));
    EXPECT_TRUE(IsOnly(scene, gaussian));
    EXPECT_FALSE(scene.Facts().camera.has_value());
}

TEST(Ply, RecordsNeedNotBeWholeWords) {
    const RawGaussian gaussian = WhiteVertex({1, 2, 3}, 0.5F, 0.25F);
    std::string bytes = PlyOf(kNames, ValuesOf(gaussian));
    bytes.insert(bytes.size() - sizeof(gaussian), "!");
    bytes.insert(bytes.find("property float x\n"), "property uchar flag\n");
    EXPECT_TRUE(IsOnly(ReadBack(bytes), gaussian));
}

TEST(Ply, RecordsMayBeFarLongerThanAGaussian) {
    std::vector<std::string> names = kNames;
    for (int i = 0; i < 1500; ++i) names.push_back("other_" + std::to_string(i));
    const std::size_t count = 700;
    std::vector<float> values;
    for (std::size_t i = 0; i < count * names.size(); ++i) values.push_back(static_cast<float>(i));
    const RawScene scene = ReadBack(PlyOf(names, values));
    ASSERT_EQ(scene.Count(), count);
    EXPECT_EQ(scene.Row(13)[count - 1], static_cast<float>((count - 1) * names.size() + 13));
}

TEST(Ply, NumbersMayHaveAnyTypeAndEitherOrderOfBytes) {
    struct Numbers {
        std::uint8_t x = 200;
        std::int8_t y = -100;
        std::uint16_t z = 60000;
        std::int16_t red = -30000;
        std::uint32_t green = 3000000000;
        std::int32_t blue = -2000000000;
        double opacity = -1.25;
        float scale = 0.75F;
    };
    const std::string header =
        " 1.0\nelement vertex 1\nproperty uchar x\nproperty int8 y\nproperty ushort z\n"
        "property int16 f_dc_0\nproperty uint32 f_dc_1\nproperty int f_dc_2\n"
        "property float64 opacity\nproperty float32 scale_0\nproperty char scale_1\n"
        "property char scale_2\nproperty char rot_0\nproperty char rot_1\nproperty char rot_2\n"
        "property char rot_3\nend_header\n";
    for (const bool isBig : {false, true}) {
        std::string bytes =
            isBig ? "ply\nformat binary_big_endian" : "ply\nformat binary_little_endian";
        bytes += header;
        const auto add = [&bytes, isBig](auto number) {
            auto raw = std::bit_cast<std::array<char, sizeof(number)>>(number);
            if (isBig) std::ranges::reverse(raw);
            bytes.append(raw.data(), raw.size());
        };
        const Numbers numbers;
        add(numbers.x);
        add(numbers.y);
        add(numbers.z);
        add(numbers.red);
        add(numbers.green);
        add(numbers.blue);
        add(numbers.opacity);
        add(numbers.scale);
        bytes += std::string("\1\2\3\4\5\6", 6);
        EXPECT_TRUE(
            HasValues(ReadBack(bytes), 0,
                      {200, -100, 60000, -30000, 3e9F, -2e9F, -1.25F, 0.75F, 1, 2, 3, 4, 5, 6}))
            << isBig;
    }
}

TEST(Ply, ElementsBeforeTheVerticesArePassedOver) {
    const RawGaussian gaussian = WhiteVertex({1, 2, 3}, 0.5F, 0.25F);
    std::string bytes = PlyOf(kNames, ValuesOf(gaussian));
    bytes.insert(bytes.size() - sizeof(gaussian), "abcdef");
    bytes.insert(bytes.find("element vertex"), "element mark 3\nproperty short value\n");
    EXPECT_TRUE(IsOnly(ReadBack(bytes), gaussian));
}

// Two records of a number and a list of so many.
std::string WithListsBefore(std::string bytes, std::uint16_t length) {
    std::string lists;
    for (int record = 0; record < 2; ++record) {
        lists += "!";
        test::AppendBytes(lists, std::array{length});
        lists += std::string(4 * std::size_t{length}, 'i');
    }
    bytes.insert(bytes.find("end_header\n") + 11, lists);
    bytes.insert(bytes.find("element vertex"),
                 "element face 2\nproperty char c\nproperty list ushort int vertex_indices\n");
    return bytes;
}

TEST(Ply, ListsBeforeTheVerticesAreWalked) {
    const RawGaussian gaussian = WhiteVertex({1, 2, 3}, 0.5F, 0.25F);
    const std::string bytes = PlyOf(kNames, ValuesOf(gaussian));
    EXPECT_TRUE(IsOnly(ReadBack(WithListsBefore(bytes, 0)), gaussian));
    EXPECT_TRUE(IsOnly(ReadBack(WithListsBefore(bytes, 3)), gaussian));
}

TEST(Ply, TooManyListsBeforeTheVerticesAreRefused) {
    std::string bytes = WithListsBefore(PlyOf(kNames, std::vector<float>(14, 0.0F)), 65535);
    bytes.replace(bytes.find("face 2"), 6, "face 99");
    bytes += std::string(kLongestPlyLists, 'i');
    EXPECT_EQ(PlyRefusal(bytes), "it has too many lists before its Gaussians");
}

TEST(Ply, CutListsAndListsOfLessThanNothingAreRefused) {
    const std::string bytes = WithListsBefore(PlyOf(kNames, std::vector<float>(14, 0.0F)), 3);
    EXPECT_EQ(PlyRefusal(bytes.substr(0, bytes.find("end_header\n") + 20)), "it is cut short");
    std::string negative = bytes;
    negative.replace(negative.find("list ushort"), 11, "list short");
    negative[negative.find("end_header\n") + 13] = '\xFF';
    EXPECT_EQ(PlyRefusal(negative), "it has a list of less than nothing");
}

TEST(Ply, ListsBehindTheVerticesArePassedOver) {
    std::string bytes = PlyOf(kNames, ValuesOf(WhiteVertex({1, 2, 3}, 0.5F, 0.25F)));
    bytes.insert(bytes.find("end_header"), "element face 9\nproperty list uchar int index\n");
    EXPECT_EQ(ReadBack(bytes).Count(), 1U);
}

TEST(Ply, HarmonicsTellTheDegreeAndKeepTheirOrder) {
    for (int degree = 0; degree <= kMostHarmonicsDegree; ++degree) {
        const RawScene scene = ReadBack(PlyWithHarmonics(RawValues(degree) - kRawValues));
        ASSERT_EQ(scene.Degree(), degree);
        for (std::size_t row = kHarmonicsRow; row < RawValues(degree); ++row) {
            EXPECT_EQ(scene.Row(row)[0], static_cast<float>(row - kHarmonicsRow));
        }
    }
}

TEST(Ply, OtherNumbersOfHarmonicsAreRefused) {
    EXPECT_EQ(PlyRefusal(PlyWithHarmonics(1)), "it has 1 coefficients f_rest, not 0, 9, 24 or 45");
    EXPECT_EQ(PlyRefusal(PlyWithHarmonics(72)), "it has harmonics of degree 4, more than 3");
}

TEST(Ply, MissingPropertyIsNamed) {
    std::vector<std::string> names = kNames;
    names[9] = "scale_9";
    EXPECT_EQ(PlyRefusal(PlyOf(names, std::vector<float>(14, 0.0F))),
              "its vertices have no \"scale_2\", which Gaussians have");
}

TEST(Ply, CutFileIsRefused) {
    const std::string bytes = SceneBytes({.vertices = {WhiteVertex({1, 2, 3}, 0.5F, 0.25F)}});
    for (const std::size_t left : {bytes.size() - 1, bytes.size() - 130, std::size_t{300}}) {
        EXPECT_NE(PlyRefusal(bytes.substr(0, left)), "") << left;
    }
}

TEST(Ply, MoreVerticesThanThereIsMemoryAreRefused) {
    EXPECT_NE(PlyRefusal(SceneBytes({.vertexCount = "4000000000", .vertices = {}})), "");
    EXPECT_NE(PlyRefusal(SceneBytes({.vertexCount = "400000000", .vertices = {}})), "");
}

TEST(Ply, FileWithoutVerticesOrWithListsInThemIsRefused) {
    EXPECT_EQ(PlyRefusal("ply\nformat binary_little_endian 1.0\nend_header\n"),
              "it has no vertices");
    std::string bytes = PlyOf(kNames, std::vector<float>(14, 0.0F));
    bytes.replace(bytes.find("float opacity"), 5, "list uchar float");
    EXPECT_EQ(PlyRefusal(bytes), "its vertices have lists");
}

TEST(Ply, CameraThatSeesNothingIsRefused) {
    const std::string sentence = "the camera in the file is not usable";
    EXPECT_EQ(PlyRefusal(SceneBytes({.vertices = {}, .imageSize = {0, 300}})), sentence);
    EXPECT_EQ(PlyRefusal(SceneBytes({.vertices = {}, .intrinsic = {0, 0, 1, 0, 1, 1, 0, 0, 1}})),
              sentence);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(PlyRefusal(SceneBytes({.vertices = {}, .intrinsic = {1, 0, nan, 0, 1, 1, 0, 0, 1}})),
              sentence);
}

TEST(Ply, CameraElementsOfOtherShapesAreNoCamera) {
    std::string bytes = SceneBytes({.vertices = {}});
    bytes.replace(bytes.find("intrinsic 9"), 11, "intrinsic 8");
    bytes.replace(bytes.find("element frame 2\n"), 16, "element frame 3\n");
    EXPECT_FALSE(ReadBack(bytes).Facts().camera.has_value());
}

TEST(Ply, OtherFilesAreLeftToOtherReaders) {
    for (const std::string bytes : {"", "ply", "plyx\n", "glTF"}) {
        EXPECT_THROW(static_cast<void>(ReadBack(bytes)), std::logic_error) << bytes;
    }
}

TEST(Ply, WrittenFileIsThatOfTheAuthorsProgram) {
    RawScene scene({2, 1, {}});
    for (std::size_t row = 0; row < RawValues(1); ++row) {
        scene.Row(row)[0] = static_cast<float>(row);
        scene.Row(row)[1] = static_cast<float>(row) + 100.0F;
    }
    std::string expected = "ply\nformat binary_little_endian 1.0\nelement vertex 2\n";
    for (const char* const name :
         {"x",        "y",        "z",        "nx",       "ny",       "nz",       "f_dc_0",
          "f_dc_1",   "f_dc_2",   "f_rest_0", "f_rest_1", "f_rest_2", "f_rest_3", "f_rest_4",
          "f_rest_5", "f_rest_6", "f_rest_7", "f_rest_8", "opacity",  "scale_0",  "scale_1",
          "scale_2",  "rot_0",    "rot_1",    "rot_2",    "rot_3"}) {
        expected += "property float " + std::string(name) + "\n";
    }
    expected += "end_header\n";
    for (const float more : {0.0F, 100.0F}) {
        std::vector<float> values = {0,  1,  2,  0,  0,  0, 3, 4, 5, 14, 15, 16, 17,
                                     18, 19, 20, 21, 22, 6, 7, 8, 9, 10, 11, 12, 13};
        for (std::size_t i = 0; i < values.size(); ++i) {
            const bool isNormal = i >= 3 && i < 6;
            if (!isNormal) values[i] += more;
        }
        test::AppendBytes(expected, values);
    }
    EXPECT_EQ(FileOf(WritePly, scene), expected);
}

TEST(Ply, WrittenSceneIsReadBackBitForBit) {
    for (int degree = 0; degree <= kMostHarmonicsDegree; ++degree) {
        RawScene scene = test::VariedScene(100, degree);
        scene.Row(kOpacityRow)[3] = std::numeric_limits<float>::infinity();
        scene.Row(kScaleRow)[4] = -std::numeric_limits<float>::infinity();
        EXPECT_TRUE(HaveEqualBits(ReadBack(FileOf(WritePly, scene)), scene)) << degree;
    }
}

TEST(Ply, CameraIsWrittenBehindTheVertices) {
    const PhotographCamera camera = {400, 410, 200.5F, 150, 4000000000, 300};
    const RawScene scene({1, 0, camera});
    const std::optional<PhotographCamera> back = ReadBack(FileOf(WritePly, scene)).Facts().camera;
    ASSERT_TRUE(back.has_value());
    EXPECT_EQ(std::memcmp(&*back, &camera, sizeof(camera)), 0);
}

}  // namespace
}  // namespace vistrel
