// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/gltf.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <limits>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tests/formats/scene_files.h"
#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

using test::VariedScene;

RawScene ReadGltfScene(const std::string& bytes, const std::filesystem::path& folder = {}) {
    const InputFile file(std::as_bytes(std::span(bytes)));
    RawSceneSink sink;
    const SceneInput input = {
        .file = file, .ending = ".gltf", .folder = folder, .spzFrame = {}, .threads = 2};
    if (!ReadGltf(input, sink)) throw std::logic_error("not of the format");
    return std::move(sink.scene);
}

std::string GltfRefusal(const std::string& bytes) {
    return test::RefusalOf(ReadGltf, bytes, ".gltf");
}

std::string Replaced(std::string text, std::string_view from, std::string_view to) {
    const std::size_t place = text.find(from);
    if (place == text.npos) throw std::logic_error("nothing to replace");
    return text.replace(place, from.size(), to);
}

std::uint32_t WordAt(const std::string& bytes, std::size_t place) {
    std::uint32_t word = 0;
    std::memcpy(&word, bytes.data() + place, sizeof(word));
    return word;
}

std::string JsonOf(const std::string& glb) {
    return glb.substr(20, WordAt(glb, 12));
}

std::string Word(std::size_t number) {
    const auto word = static_cast<std::uint32_t>(number);
    std::string text(sizeof(word), '\0');
    std::memcpy(text.data(), &word, sizeof(word));
    return text;
}

// A .glb file with this text and buffer.
std::string Glb(const std::string& json, const std::string& buffer) {
    return "glTF" + Word(2) + Word(28 + json.size() + buffer.size()) + Word(json.size()) + "JSON" +
           json + Word(buffer.size()) + std::string("BIN\0", 4) + buffer;
}

// Two Gaussians at (1, 2, 3) and (4, 5, 6), unturned, half opaque, of the size 2.
struct GltfText {
    std::string node = R"("mesh": 0)";
    std::string moreNodes = "";
    std::string roots = "0";
    std::string primitive = R"("mode": 0)";
    std::string splatting = R"("kernel": "ellipse", "colorSpace": "srgb_rec709_display")";
    std::string attributes = "";  // behind the needed ones
    std::string accessor = "";    // into that of the positions
    std::string view = "";        // into the buffer's view
    std::string more = "";        // into the document
    std::string buffer = R"({"byteLength": 72})";
    std::string rotationType = "5126";
    std::size_t rotationAt = 24;
};

std::string JsonOf(const GltfText& text) {
    const auto accessor = [](const std::string& type, const std::string& component,
                             std::size_t offset, const std::string& more = "") {
        return R"({"bufferView": 0, "count": 2, "byteOffset": )" + std::to_string(offset) +
               R"(, "componentType": )" + component + R"(, "type": ")" + type + "\"" + more + "}";
    };
    return R"({"asset": {"version": "2.0"}, "extensionsUsed": ["KHR_gaussian_splatting"],
 "scene": 0, "scenes": [{"nodes": [)" +
           text.roots + R"(]}], "nodes": [{)" + text.node + "}" + text.moreNodes +
           R"(], "meshes": [{"primitives": [{"attributes": {"POSITION": 0,
 "KHR_gaussian_splatting:ROTATION": 1, "KHR_gaussian_splatting:SCALE": 2,
 "KHR_gaussian_splatting:OPACITY": 3, "KHR_gaussian_splatting:SH_DEGREE_0_COEF_0": 0)" +
           text.attributes + "}, " + text.primitive +
           R"(, "extensions": {"KHR_gaussian_splatting": {)" + text.splatting +
           R"(}}}]}], "accessors": [)" + accessor("VEC3", "5126", 0, text.accessor) + ", " +
           accessor("VEC4", text.rotationType, text.rotationAt,
                    text.rotationType == "5126" ? "" : R"(, "normalized": true)") +
           ", " + accessor("VEC3", "5121", 56) + ", " +
           accessor("SCALAR", "5123", 64, R"(, "normalized": true)") +
           R"(], "bufferViews": [{"buffer": 0, "byteLength": 72)" + text.view +
           R"(}], "buffers": [)" + text.buffer + "]" + text.more + "}";
}

std::string GltfBytes() {
    std::string bytes;
    test::AppendBytes(bytes, std::array{1.0F, 2.0F, 3.0F, 4.0F, 5.0F, 6.0F});
    test::AppendBytes(bytes, std::array{0.0F, 0.0F, 0.0F, 1.0F, 0.0F, 0.0F, 0.0F, 1.0F});
    test::AppendBytes(bytes, std::array<std::uint8_t, 8>{2, 2, 2, 2, 2, 2, 0, 0});
    test::AppendBytes(bytes, std::array<std::uint16_t, 4>{65535, 0, 0, 0});
    return bytes;
}

std::string GlbOf(const GltfText& text) {
    return Glb(JsonOf(text), GltfBytes());
}

std::array<float, 3> PositionOf(const RawScene& scene, std::size_t i) {
    return {scene.Row(0)[i], scene.Row(1)[i], scene.Row(2)[i]};
}
using Position = std::array<float, 3>;

void ExpectSame(const RawScene& read, const RawScene& written) {
    ASSERT_EQ(read.Count(), written.Count());
    ASSERT_EQ(read.Degree(), written.Degree());
    for (std::size_t i = 0; i < read.Count(); ++i) {
        double squares = 0.0;
        for (std::size_t k = 0; k < 4; ++k) {
            const double value = written.Row(kRotationRow + k)[i];
            squares += value * value;
        }
        for (std::size_t row = 0; row < RawValues(read.Degree()); ++row) {
            const bool isRotation = row >= kRotationRow && row < kRotationRow + 4;
            const bool isCoded = row >= kOpacityRow && row < kRotationRow;
            const double scale = isRotation ? 1.0 / std::sqrt(squares) : 1.0;
            EXPECT_NEAR(read.Row(row)[i], written.Row(row)[i] * scale,
                        isRotation || isCoded ? 1e-5 : 0.0)
                << row;
        }
    }
}

class GltfRoundTrips : public testing::TestWithParam<int> {};

TEST_P(GltfRoundTrips, KeepAllValues) {
    const RawScene scene = VariedScene(1500, GetParam());
    ExpectSame(ReadGltfScene(test::FileOf(WriteGlb, scene)), scene);
}

INSTANTIATE_TEST_SUITE_P(Gltf, GltfRoundTrips, testing::Values(0, 1, 2, 3));

TEST(Gltf, CameraComesBack) {
    const PhotographCamera camera = {400.5F, 410.25F, 200.0F, 150.5F, 400, 300};
    RawScene scene({1, 0, camera});
    for (std::size_t row = 0; row < kRawValues; ++row) scene.Row(row)[0] = 1.0F;
    const auto read = ReadGltfScene(test::FileOf(WriteGlb, scene)).Facts().camera;
    ASSERT_TRUE(read);
    EXPECT_EQ(read->focalX, camera.focalX);
    EXPECT_EQ(read->focalY, camera.focalY);
    EXPECT_EQ(read->centreY, camera.centreY);
    EXPECT_EQ(read->width, camera.width);
    EXPECT_EQ(read->height, camera.height);
}

TEST(Gltf, CameraElsewhereIsNotThePhotographs) {
    const GltfText text = {
        .moreNodes = R"(, {"camera": 0, "translation": [1, 0, 0]})",
        .roots = "0, 1",
        .more =
            R"(, "cameras": [{"extras": {"focal": [1, 1], "centre": [1, 1], "size": [2, 2]}}])"};
    EXPECT_FALSE(ReadGltfScene(GlbOf(text)).Facts().camera);
    EXPECT_TRUE(
        ReadGltfScene(
            GlbOf({.moreNodes = R"(, {"camera": 0})", .roots = text.roots, .more = text.more}))
            .Facts()
            .camera);
}

TEST(Gltf, WrittenFileHasChunksOfWholeWords) {
    const std::string file = test::FileOf(WriteGlb, VariedScene(3, 1));
    EXPECT_EQ(WordAt(file, 8), file.size());
    const std::size_t json = WordAt(file, 12);
    EXPECT_EQ(json % 4, 0U);
    EXPECT_EQ(WordAt(file, 20 + json), 3 * RawValues(1) * sizeof(float));
    EXPECT_EQ(file.substr(24 + json, 4), std::string("BIN\0", 4));
}

TEST(Gltf, WrittenPositionsLieTurned) {
    RawScene scene = VariedScene(1, 0);
    for (std::size_t k = 0; k < 3; ++k) scene.Row(k)[0] = static_cast<float>(k + 1);
    const std::string file = test::FileOf(WriteGlb, scene);
    EXPECT_NE(JsonOf(file).find(R"("min":[1.0,-2.0,-3.0],"max":[1.0,-2.0,-3.0])"),
              std::string::npos);
    std::array<float, 3> position = {};
    std::memcpy(position.data(), file.data() + 28 + WordAt(file, 12), sizeof(position));
    EXPECT_EQ(position, (Position{1.0F, -2.0F, -3.0F}));
}

TEST(Gltf, FileIsTheSameForAnyNumberOfThreads) {
    const RawScene scene = VariedScene(5000, 1);
    EXPECT_EQ(test::FileOf(WriteGlb, scene, 1), test::FileOf(WriteGlb, scene, 3));
}

TEST(Gltf, ValuesOfSmallTypes) {
    const RawScene read = ReadGltfScene(GlbOf({}));
    EXPECT_EQ(PositionOf(read, 1), (Position{4.0F, -5.0F, -6.0F}));
    EXPECT_EQ(read.Row(kColorRow + 2)[0], 3.0F);
    EXPECT_EQ(read.Row(kOpacityRow)[0], std::numeric_limits<float>::infinity());
    EXPECT_EQ(read.Row(kOpacityRow)[1], -std::numeric_limits<float>::infinity());
    EXPECT_FLOAT_EQ(read.Row(kScaleRow + 2)[0], std::log(2.0F));
    EXPECT_EQ(read.Row(kRotationRow)[0], 1.0F);
}

// Four floats as eight 16-bit numbers: the last of (0, 0, 0, 1) ends in 0x3F80.
TEST(Gltf, NormalisedRotations) {
    const RawScene read = ReadGltfScene(GlbOf({.rotationType = "5122", .rotationAt = 32}));
    EXPECT_FLOAT_EQ(read.Row(kRotationRow)[0], 0x3F80 / 32767.0F);
}

TEST(Gltf, DataInTheText) {
    // The buffer in base64.
    const std::string data =
        "AACAPwAAAEAAAEBAAACAQAAAoEAAAMBAAAAAAAAAAAAAAAAAAACAPwAAAAAAAAAAAAAA"
        "AAAAgD8CAgICAgIAAP//AAAAAAAA";
    const RawScene read = ReadGltfScene(JsonOf(
        GltfText{.buffer = R"({"byteLength": 72, "uri": "data:application/octet-stream;base64,)" +
                           data + "\"}"}));
    EXPECT_EQ(PositionOf(read, 0), (Position{1.0F, -2.0F, -3.0F}));
}

TEST(Gltf, BufferInAFileBeside) {
    const test::TemporaryFolder folder;
    folder.Write("a b.bin", GltfBytes());
    const RawScene read = ReadGltfScene(
        JsonOf(GltfText{.buffer = R"({"byteLength": 72, "uri": "a%20b.bin"})"}), folder.Path());
    EXPECT_EQ(PositionOf(read, 0), (Position{1.0F, -2.0F, -3.0F}));
}

TEST(Gltf, NodesPlaceTheirMeshes) {
    const RawScene read = ReadGltfScene(
        GlbOf({.node = R"("children": [1], "translation": [0, 0, 10])",
               .moreNodes = R"(, {"mesh": 0, "scale": [2, 2, 2], "rotation": [0, 0, 1, 0]})"}));
    EXPECT_EQ(PositionOf(read, 0), (Position{-2.0F, 4.0F, -16.0F}));
    EXPECT_FLOAT_EQ(read.Row(kScaleRow)[0], std::log(4.0F));
}

TEST(Gltf, SeveralPrimitivesAreOneScene) {
    const std::string one = JsonOf(GltfText{});
    const std::size_t begin = one.find(R"({"attributes")");
    const std::size_t end = one.find("]}], \"accessors\"");
    const std::string primitive = one.substr(begin, end - begin);
    const std::string withHarmonics =
        Replaced(primitive, R"(_0_COEF_0": 0)",
                 R"(_0_COEF_0": 0, "KHR_gaussian_splatting:SH_DEGREE_1_COEF_0": 0,
 "KHR_gaussian_splatting:SH_DEGREE_1_COEF_1": 0, "KHR_gaussian_splatting:SH_DEGREE_1_COEF_2": 0)");
    const RawScene read = ReadGltfScene(
        Glb(std::string(one).replace(begin, end - begin, primitive + ", " + withHarmonics),
            GltfBytes()));
    ASSERT_EQ(read.Count(), 4U);
    EXPECT_EQ(read.Degree(), 1);
    EXPECT_EQ(PositionOf(read, 3), PositionOf(read, 1));
    EXPECT_EQ(read.Row(kHarmonicsRow)[1], 0.0F);
    EXPECT_EQ(read.Row(kHarmonicsRow)[2], -1.0F);
    EXPECT_EQ(read.Row(kHarmonicsRow + 2)[2], 1.0F);
}

TEST(Gltf, OtherFilesAreNotOfTheFormat) {
    const std::string ply = "ply\nformat";
    const InputFile file(std::as_bytes(std::span(ply)));
    RawSceneSink sink;
    EXPECT_FALSE(ReadGltf({.file = file, .ending = ".ply"}, sink));
}

TEST(Gltf, CutAtAnyPlace) {
    const std::string whole = GlbOf({});
    for (std::size_t size = 4; size < whole.size(); ++size) {
        EXPECT_NE(GltfRefusal(whole.substr(0, size)), "") << size;
    }
}

struct DamagedGltf {
    GltfText text;
    std::string sentence;
};

class DamagedGltfFiles : public testing::TestWithParam<DamagedGltf> {};

TEST_P(DamagedGltfFiles, AreRefusedWithASentence) {
    EXPECT_EQ(GltfRefusal(GlbOf(GetParam().text)), GetParam().sentence);
}

const std::string kOutside = "an attribute lies outside of its buffer";
const std::string kStretches =
    "a node stretches, mirrors or bends its Gaussians, which is not supported";

INSTANTIATE_TEST_SUITE_P(
    Gltf, DamagedGltfFiles,
    testing::Values(
        DamagedGltf{{.node = R"("name": "none")"}, "it has no Gaussians"},
        DamagedGltf{{.node = R"("mesh": 1)"}, "its JSON refers to what is not there"},
        DamagedGltf{{.node = R"("mesh": -1)"}, "its JSON has no number where it needs one"},
        DamagedGltf{{.node = R"("mesh": 0, "children": [0])"}, "it has a node in two places"},
        DamagedGltf{{.node = R"("mesh": 0, "scale": [1, 1, 2])"}, kStretches},
        DamagedGltf{{.node = R"("mesh": 0, "scale": [1, 1])"},
                    "its JSON has no numbers where it needs them"},
        DamagedGltf{{.moreNodes = R"(, {"mesh": 0}, {"mesh": 0}, {"mesh": 0})", .roots = "0,1,2,3"},
                    "its meshes are used more often than its size explains"},
        DamagedGltf{{.primitive = R"("mode": 4)"}, "its Gaussians are not points"},
        DamagedGltf{{.splatting = R"("kernel": "cube", "colorSpace": "srgb_rec709_display")"},
                    "its Gaussians have a kernel that is not supported"},
        DamagedGltf{{.splatting = R"("kernel": "ellipse", "colorSpace": "lin_rec709_display")"},
                    "its Gaussians have a color space that is not supported"},
        DamagedGltf{
            {.attributes = R"(, "KHR_gaussian_splatting:SH_DEGREE_1_COEF_0": 0)"},
            R"(its JSON has no "KHR_gaussian_splatting:SH_DEGREE_1_COEF_1" where it needs one)"},
        DamagedGltf{{.accessor = R"(, "sparse": {})"}, "sparse accessors are not supported"},
        DamagedGltf{{.view = R"(, "byteStride": 8)"},
                    "its values lie nearer or farther from each other than they may"},
        DamagedGltf{{.view = R"(, "byteStride": 52)"}, kOutside},
        DamagedGltf{{.view = R"(, "byteOffset": 1)"}, kOutside},
        DamagedGltf{{.view = R"(, "byteOffset": 281474976710656)"}, kOutside},
        DamagedGltf{{.buffer = R"({"byteLength": 73})"}, "a buffer is shorter than it claims"},
        DamagedGltf{{.buffer = R"({"byteLength": 72, "uri": "data:x;base64,A"})"},
                    "a buffer is not written in base64"},
        DamagedGltf{{.buffer = R"({"byteLength": 72, "uri": "data:"})"},
                    "a buffer is not written in base64"},
        DamagedGltf{{.buffer = R"({"byteLength": 72, "uri": "%2E%2E/a"})"},
                    "a buffer is not in the file's folder"},
        DamagedGltf{{.buffer = R"({"byteLength": 72, "uri": "/etc/hosts"})"},
                    "a buffer is not in the file's folder"},
        DamagedGltf{{.buffer = R"({"byteLength": 72, "uri": "no such file"})"},
                    "a buffer's file cannot be opened"},
        DamagedGltf{{.rotationType = "5125"}, "an attribute has a type that is not supported"},
        DamagedGltf{{.rotationAt = 48}, kOutside},
        DamagedGltf{{.more = "x"}, "its JSON is damaged"},
        DamagedGltf{{.more = R"(, "extras": )" + std::string(100, '[') + std::string(100, ']')},
                    "its JSON is nested too deeply"}));

TEST(Gltf, HarmonicsOfDegreeFour) {
    std::string attributes;
    for (int degree = 1; degree <= 4; ++degree) {
        for (int n = 0; n <= 2 * degree; ++n) {
            attributes += R"(, "KHR_gaussian_splatting:SH_DEGREE_)" + std::to_string(degree) +
                          "_COEF_" + std::to_string(n) + R"(": 0)";
        }
    }
    EXPECT_EQ(GltfRefusal(GlbOf({.attributes = attributes})),
              "it has harmonics of degree 4, more than 3");
}

TEST(Gltf, CountsThatDiffer) {
    EXPECT_EQ(GltfRefusal(
                  Glb(Replaced(JsonOf(GltfText{}), R"("count": 2)", R"("count": 1)"), GltfBytes())),
              "its attributes have different counts");
}

TEST(Gltf, NegativeScalesAreThoseOfDrafts) {
    EXPECT_EQ(GltfRefusal(Glb(Replaced(JsonOf(GltfText{}), "5121", "5120"),
                              Replaced(GltfBytes(), "\x02", "\xFE"))),
              "it has negative scales, as drafts of the format had");
}

TEST(Gltf, AnotherVersion) {
    std::string file = GlbOf({});
    file[4] = 1;
    EXPECT_EQ(GltfRefusal(file), "it is of a version of glTF that is not 2");
}

}  // namespace
}  // namespace vistrel
