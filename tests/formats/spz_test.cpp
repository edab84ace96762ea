// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/spz.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include "formats/deflate.h"
#include "tests/formats/scene_files.h"
#include "tests/support/spz_bytes.h"

namespace vistrel {
namespace {

using test::AxesRecord;
using test::Gzipped;
using test::kUnturned3;
using test::NumberText;
using test::SpzRest;
using test::SpzStart;
using test::StreamsFile;
using test::TextOf;
using test::VariedScene;
using test::Version3;
using test::Version4;

constexpr float kForever = std::numeric_limits<float>::infinity();

std::string SpzOf(const RawScene& scene, const SceneWriteOptions& options) {
    MemorySink sink;
    WriteSpz(scene, options, sink);
    return std::move(sink.content);
}

RawScene ReadSpzScene(std::string_view bytes, SpzFrame frame = SpzFrame::AsPly, int threads = 2) {
    const InputFile file(std::as_bytes(std::span(bytes)));
    RawSceneSink sink;
    const SceneInput input = {
        .file = file, .ending = ".spz", .folder = {}, .spzFrame = frame, .threads = threads};
    if (!ReadSpz(input, sink)) throw std::logic_error("not of the format");
    return std::move(sink.scene);
}

std::string SpzRefusal(std::string_view bytes) {
    return test::RefusalOf(ReadSpz, bytes, ".spz");
}

std::array<float, 3> FirstPosition(const RawScene& scene) {
    return {scene.Row(0)[0], scene.Row(1)[0], scene.Row(2)[0]};
}

using Position = std::array<float, 3>;

// The quantisation's bounds. Rotations may come back as their opposites.
void ExpectNear(const RawScene& read, const RawScene& written) {
    ASSERT_EQ(read.Count(), written.Count());
    ASSERT_EQ(read.Degree(), written.Degree());
    const std::size_t functions = HarmonicsCount(read.Degree()) - 1;
    for (std::size_t i = 0; i < read.Count(); ++i) {
        const auto value = [&](const RawScene& scene, std::size_t row) {
            return scene.Row(row)[i];
        };
        const auto opacity = [&](const RawScene& scene) {
            return 1.0F / (1.0F + std::exp(-value(scene, kOpacityRow)));
        };
        for (std::size_t k = 0; k < 3; ++k) {
            const std::size_t scale = kScaleRow + k;
            EXPECT_NEAR(value(read, k), value(written, k), 0.5001 / 4096);
            EXPECT_NEAR(value(read, kColorRow + k), value(written, kColorRow + k),
                        0.5001 / 255 / 0.15);
            EXPECT_NEAR(value(read, scale), value(written, scale), 0.5001 / 16);
        }
        EXPECT_NEAR(opacity(read), opacity(written), 0.5001 / 255);
        double squares = 0.0;
        double product = 0.0;
        for (std::size_t k = kRotationRow; k < kRotationRow + 4; ++k) {
            squares += value(written, k) * value(written, k);
            product += value(read, k) * value(written, k);
        }
        // Three components are off by at most half a step of 0.0014.
        EXPECT_NEAR(std::abs(product) / std::sqrt(squares), 1.0, 2e-6);
        for (std::size_t row = kHarmonicsRow; row < RawValues(read.Degree()); ++row) {
            const bool isDegree1 = (row - kHarmonicsRow) % functions < 3;
            // Half of the step, and of the one of 1 / 128 before it.
            const double bound = (isDegree1 ? 4.0 : 8.0) / 128 + 0.5001 / 128;
            EXPECT_NEAR(value(read, row), std::clamp(value(written, row), -1.0F, 127.0F / 128),
                        bound);
        }
    }
}

class SpzRoundTrips : public testing::TestWithParam<std::tuple<int, int, SpzFrame>> {};

TEST_P(SpzRoundTrips, StaysWithinTheQuantisation) {
    const auto [version, degree, frame] = GetParam();
    const RawScene scene = VariedScene(1500, degree);
    const std::string file = SpzOf(scene, {.spzFrame = frame, .spzVersion = version});
    ExpectNear(ReadSpzScene(file, frame), scene);
}

INSTANTIATE_TEST_SUITE_P(Spz, SpzRoundTrips,
                         testing::Combine(testing::Values(3, 4), testing::Values(0, 1, 2, 3),
                                          testing::Values(SpzFrame::AsPly, SpzFrame::RightUpBack)));

// A Gaussian whose values are those of the layout's examples.
RawScene ExampleScene() {
    RawScene scene({1, 1, {}});
    const std::vector<float> values = {1.0F,  -2.0F,  7.0F,             // position
                                       0.0F,  1.0F,   -20.0F,           // colour
                                       0.0F,                            // half opaque
                                       -2.0F, -10.0F, -kForever,        // scales
                                       2.0F,  0.0F,   -2.0F,     0.0F,  // rotation
                                       0.5F,  -0.25F, 0.0F,             // harmonics, red
                                       0.0F,  0.0F,   9.0F,             // green
                                       0.03F, 0.04F,  -9.0F};           // blue
    for (std::size_t row = 0; row < values.size(); ++row) scene.Row(row)[0] = values[row];
    return scene;
}

const std::string kExamplePosition =
    NumberText(1 << 12, 3) + NumberText((1U << 24) - (2U << 12), 3) + NumberText(7 << 12, 3);
const std::string kExampleColor = "\x80\xA6" + std::string(1, '\0');  // 127.5 and 38.25 above it
const std::string kExampleScale = "\x80" + std::string(2, '\0');
// x is 0, y is negative and as large as w, which is left out: 511 steps.
const std::string kExampleRotation = NumberText(1U << 30 | 1U << 9 | 511U, 4);
const std::string kExampleHarmonics = {'\xC0', '\x80', '\x88', '\x60', '\x80',
                                       '\x88', '\x80', '\xFF', '\0'};

TEST(Spz, LayoutOfVersion3) {
    RawScene scene = ExampleScene();
    const std::string file = SpzOf(scene, {.spzVersion = 3});
    const std::string content = SpzStart(3, 1, 1, 12) + kExamplePosition + "\x80" + kExampleColor +
                                kExampleScale + kExampleRotation + kExampleHarmonics;
    EXPECT_EQ(TextOf(UnpackGzip(std::as_bytes(std::span(file)), 0, 1000)), content);
}

TEST(Spz, LayoutOfVersion4) {
    const std::vector<std::string> streams = {kExamplePosition, "\x80",
                                              kExampleColor,    kExampleScale,
                                              kExampleRotation, kExampleHarmonics};
    EXPECT_EQ(SpzOf(ExampleScene(), {.spzVersion = 4}),
              Version4({.count = 1, .degree = 1, .contents = streams}));
}

TEST(Spz, Version4WithoutHarmonicsHasFiveStreams) {
    const std::string file = SpzOf(VariedScene(2, 0), {.spzVersion = 4});
    EXPECT_EQ(file[15], 5);
}

TEST(Spz, FileIsTheSameForAnyNumberOfThreads) {
    const RawScene scene = VariedScene(40000, 1);
    for (const int version : {3, 4}) {
        EXPECT_EQ(SpzOf(scene, {.spzVersion = version, .threads = 1}),
                  SpzOf(scene, {.spzVersion = version, .threads = 3}));
    }
}

TEST(Spz, WrittenRightUpBackLiesTurned) {
    const std::string file =
        SpzOf(ExampleScene(), {.spzFrame = SpzFrame::RightUpBack, .spzVersion = 4});
    const RawScene read = ReadSpzScene(file, SpzFrame::AsPly);
    EXPECT_EQ(FirstPosition(read), (Position{1.0F, 2.0F, -7.0F}));
    EXPECT_GT(read.Row(kRotationRow)[0] * read.Row(kRotationRow + 2)[0], 0.0F);
    EXPECT_EQ(read.Row(kHarmonicsRow)[0], -0.5F);  // of y
}

TEST(Spz, EnoughFractionalBitsForASmallScene) {
    RawScene scene = VariedScene(100, 0);
    for (std::size_t row = 0; row < 3; ++row) {
        std::for_each_n(scene.Row(row), 100, [](float& value) { value *= 1e-3F; });
    }
    const RawScene read = ReadSpzScene(SpzOf(scene, {.spzVersion = 4}));
    for (std::size_t i = 0; i < 100; ++i) {
        EXPECT_NEAR(read.Row(2)[i], scene.Row(2)[i], 1e-3F * 0.5F / 1024.0F);
    }
}

TEST(Spz, FewFractionalBitsForAFarBackground) {
    RawScene scene = VariedScene(2, 0);
    scene.Row(0)[1] = -1e6F;
    const RawScene read = ReadSpzScene(SpzOf(scene, {.spzVersion = 3}));
    EXPECT_NEAR(read.Row(0)[1], -1e6F, 0.1F);
    EXPECT_NEAR(read.Row(2)[0], scene.Row(2)[0], 0.0626F);
}

TEST(Spz, TooFarForAnyFractionalBits) {
    RawScene scene = VariedScene(2, 0);
    scene.Row(1)[1] = 1e7F;
    EXPECT_THROW(SpzOf(scene, {}), std::runtime_error);
}

TEST(Spz, OpaqueAndInvisibleGaussians) {
    RawScene scene = VariedScene(2, 0);
    scene.Row(kOpacityRow)[0] = kForever;
    scene.Row(kOpacityRow)[1] = -kForever;
    const RawScene read = ReadSpzScene(SpzOf(scene, {.spzVersion = 4}));
    EXPECT_EQ(read.Row(kOpacityRow)[0], kForever);
    EXPECT_EQ(read.Row(kOpacityRow)[1], -kForever);
}

TEST(Spz, RotationsOfAnyLength) {
    RawScene scene = VariedScene(2, 0);
    for (std::size_t k = 0; k < 4; ++k) {
        scene.Row(kRotationRow + k)[0] = 3e38F;
        scene.Row(kRotationRow + k)[1] = 1e-40F;
    }
    const RawScene read = ReadSpzScene(SpzOf(scene, {.spzVersion = 4}));
    for (std::size_t k = 0; k < 4; ++k) {
        EXPECT_NEAR(read.Row(kRotationRow + k)[0], 0.5F, 2e-3F);
        EXPECT_NEAR(read.Row(kRotationRow + k)[1], 0.5F, 2e-3F);
    }
}

TEST(Spz, Version1HasHalfFloats) {
    // 1.5, -2, and the smallest above 0.
    const std::string position = NumberText(0x3E00, 2) + NumberText(0xC000, 2) + NumberText(1, 2);
    const std::string content = SpzStart(1, 1) + position + SpzRest("\x80\x80\xFF");
    const RawScene read = ReadSpzScene(Gzipped(content));
    EXPECT_EQ(FirstPosition(read), (Position{1.5F, -2.0F, 0x1p-24F}));
    EXPECT_NEAR(read.Row(kRotationRow + 3)[0], 1.0F, 1e-6F);
}

TEST(Spz, Version2HasRotationsOfThreeBytes) {
    const std::string content = SpzStart(2, 1, 0, 4) + NumberText(16, 3) + NumberText(0xFFFFF0, 3) +
                                NumberText(8, 3) + SpzRest(std::string("\0\x80\x7F", 3));
    const RawScene read = ReadSpzScene(Gzipped(content));
    EXPECT_EQ(FirstPosition(read), (Position{1.0F, -1.0F, 0.5F}));
    EXPECT_EQ(read.Row(kRotationRow + 1)[0], -1.0F);
    EXPECT_EQ(read.Row(kRotationRow)[0], 0.0F);
}

TEST(Spz, ValuesOfOneGaussian) {
    const RawScene read = ReadSpzScene(Gzipped(Version3()));
    EXPECT_EQ(FirstPosition(read), (Position{1.0F, 2.0F, 3.0F}));
    EXPECT_NEAR(read.Row(kColorRow)[0], -0.5F / 255.0F / 0.15F, 1e-6F);
    EXPECT_NEAR(read.Row(kOpacityRow)[0], std::log(128.0F / 127.0F), 1e-6F);
    EXPECT_EQ(read.Row(kScaleRow + 2)[0], -2.0F);
    EXPECT_EQ(read.Row(kRotationRow)[0], 1.0F);
}

TEST(Spz, RotationsLongerThanOneAreNotNan) {
    std::string content = Version3();
    content.replace(content.size() - 4, 4, NumberText(0xFFFFFFFF, 4));
    EXPECT_EQ(ReadSpzScene(Gzipped(content)).Row(kRotationRow)[0], 0.0F);
}

TEST(Spz, FrameOfTheOption) {
    EXPECT_EQ(FirstPosition(ReadSpzScene(Gzipped(Version3()), SpzFrame::RightUpBack)),
              (Position{1.0F, -2.0F, -3.0F}));
}

TEST(Spz, FrameOfTheFileComesFirst) {
    const std::string rightDownForward = Gzipped(Version3(AxesRecord(6)));
    EXPECT_EQ(FirstPosition(ReadSpzScene(rightDownForward, SpzFrame::RightUpBack)),
              (Position{1.0F, 2.0F, 3.0F}));
    const std::string leftUpBack = Gzipped(Version3(AxesRecord(3)));
    EXPECT_EQ(FirstPosition(ReadSpzScene(leftUpBack)), (Position{-1.0F, -2.0F, -3.0F}));
}

TEST(Spz, FrameThatTheFileLeavesOpen) {
    const std::string file = Gzipped(Version3(AxesRecord(0)));
    EXPECT_EQ(FirstPosition(ReadSpzScene(file, SpzFrame::RightUpBack)),
              (Position{1.0F, -2.0F, -3.0F}));
}

TEST(Spz, ExtensionsOfVersion4) {
    const std::string other = NumberText(0x12340001, 4) + NumberText(3, 4) + "abc";
    StreamsFile file = {.extensions = other + AxesRecord(4)};
    file.contents[0] = NumberText(0, 6) + NumberText(4096, 3);
    EXPECT_EQ(ReadSpzScene(Version4(file)).Row(2)[0], -1.0F);
}

TEST(Spz, EmptyStreamOfHarmonics) {
    StreamsFile file;
    file.contents.emplace_back();
    EXPECT_EQ(ReadSpzScene(Version4(file)).Count(), 1U);
}

TEST(Spz, OtherFilesAreNotOfTheFormat) {
    EXPECT_THROW(ReadSpzScene("ply\nformat"), std::logic_error);
    EXPECT_THROW(ReadSpzScene(""), std::logic_error);
    EXPECT_THROW(ReadSpzScene(Gzipped("a text of some length")), std::logic_error);
}

TEST(Spz, CutAtAnyPlace) {
    const RawScene scene = VariedScene(3, 1);
    for (const int version : {3, 4}) {
        const std::string whole = SpzOf(scene, {.spzVersion = version});
        for (std::size_t size = 30; size < whole.size(); ++size) {
            EXPECT_NE(SpzRefusal(whole.substr(0, size)), "") << version << " " << size;
        }
    }
}

struct DamagedSpz {
    std::string file;
    std::string sentence;
};

class DamagedSpzFiles : public testing::TestWithParam<DamagedSpz> {};

TEST_P(DamagedSpzFiles, AreRefusedWithASentence) {
    EXPECT_EQ(SpzRefusal(GetParam().file), GetParam().sentence);
}

INSTANTIATE_TEST_SUITE_P(
    Spz, DamagedSpzFiles,
    testing::Values(
        DamagedSpz{Gzipped(SpzStart(5, 1)), "it is of version 5 of SPZ, and 1 to 4 are known"},
        DamagedSpz{Gzipped(SpzStart(4, 1)), "it is not compressed as its version is"},
        DamagedSpz{Version4({.version = 3}), "it is not compressed as its version is"},
        DamagedSpz{Gzipped(SpzStart(3, 1, 4)), "it has harmonics of degree 4, more than 3"},
        DamagedSpz{Version4({.degree = 4}), "it has harmonics of degree 4, more than 3"},
        DamagedSpz{Gzipped(SpzStart(3, 1, 0, 32)),
                   "its positions have more fractional bits than bits"},
        DamagedSpz{Gzipped(SpzStart(3, 0)), "it holds no Gaussians"},
        DamagedSpz{Gzipped(SpzStart(3, 2) + Version3().substr(16)),
                   "it unpacks to less than it claims"},
        DamagedSpz{Gzipped(Version3() + "x"), "it unpacks to more than it claims"},
        DamagedSpz{Gzipped(SpzStart(3, 4'000'000'000)),
                   "it claims 4000000000 Gaussians, more than a file of its size holds"},
        DamagedSpz{Gzipped(SpzStart(3, 800'000)), "it unpacks to less than it claims"},
        DamagedSpz{Version4({.count = 500'000'000}),
                   "it claims 500000000 Gaussians, more than a file of its size holds"},
        DamagedSpz{Version4({.count = 2}), "a stream has another size than it claims"},
        DamagedSpz{Version4({.degree = 1}), "it has another number of streams than it needs"},
        DamagedSpz{Version4({.wrongBytes = 1}), "a stream has another size than it claims"},
        DamagedSpz{
            Version4({.contents = {"\x01", "\x80", "\x7F\x7F\x7F", "\x80\x80\x80", kUnturned3},
                      .wrongBytes = 8}),
            "a stream has another size than it claims"},
        DamagedSpz{Version4({.wrongStreams = -1}),
                   "it has another number of streams than it needs"},
        DamagedSpz{Version4({.wrongTable = 1'000'000}), "its table of contents lies outside"},
        DamagedSpz{Version4({.wrongTable = 0xFFFFFFFF}), "its table of contents lies outside"},
        DamagedSpz{Version4({}) + "x", "it goes on behind its end"},
        DamagedSpz{Version4({}).substr(0, 31), "it is cut short"},
        DamagedSpz{Gzipped(Version3(AxesRecord(9))), "it lies in a frame that is not supported"},
        DamagedSpz{Gzipped(Version3(NumberText(1, 4) + NumberText(1, 4))),
                   "an extension is cut short"}));

}  // namespace
}  // namespace vistrel
