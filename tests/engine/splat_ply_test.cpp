// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/splat_ply.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "base/text_encoding.h"
#include "engine/splat_ply_format.h"
#include "tests/support/plain_splat_ply.h"
#include "tests/support/special_floats.h"
#include "tests/support/synthetic_gaussians.h"
#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

using test::kInfinity;
using test::kNaN;

constexpr float kFocalPx = 1234.5F;
constexpr std::uint32_t kWidth = 6001;
constexpr std::uint32_t kHeight = 4000;

// Places of a vertex's properties among its floats.
enum Property { X = 0, Color0 = 3, Opacity = 6, Scale0 = 7, Rotation0 = 10 };

using Vertex = std::array<float, kVertexFloats>;

// A file taken apart; the camera's elements as bytes.
struct SplatFile {
    std::string header;
    std::vector<Vertex> vertices;
    std::string camera;
};

SplatFile TakeApart(const std::string& bytes) {
    const std::string lastLine = "end_header\n";
    SplatFile file;
    file.header = bytes.substr(0, bytes.find(lastLine) + lastLine.size());
    const std::string before = "element vertex ";
    const std::size_t count = std::stoul(bytes.substr(bytes.find(before) + before.size()));
    file.vertices.resize(count);
    if (bytes.size() < file.header.size() + count * sizeof(Vertex)) {
        throw std::runtime_error("short file");
    }
    for (std::size_t i = 0; i < count; ++i) {
        std::memcpy(&file.vertices[i], &bytes[file.header.size() + i * sizeof(Vertex)],
                    sizeof(Vertex));
    }
    file.camera = bytes.substr(file.header.size() + count * sizeof(Vertex));
    return file;
}

std::uintmax_t FileSize(std::int32_t count) {
    return SplatPlyHeader(count).size() + static_cast<std::size_t>(count) * sizeof(Vertex) +
           SplatPlyCamera({}).size();
}

bool SameBits(const float* a, const float* b, std::size_t count) {
    return std::memcmp(a, b, count * sizeof(float)) == 0;
}

// Equal, both NaN, or closer than what logarithm and power may be off.
bool Close(float a, float b) {
    return a == b || (std::isnan(a) && std::isnan(b)) ||
           std::fabs(a - b) <= 1e-6F * std::max(1.0F, std::fabs(b));
}

// Bit for bit where no logarithm or power is involved.
void ExpectSameVertex(const Vertex& vertex, const Vertex& expected) {
    EXPECT_TRUE(SameBits(&vertex[X], &expected[X], 3));
    EXPECT_TRUE(SameBits(&vertex[Rotation0], &expected[Rotation0], 4));
    for (std::size_t i = Color0; i < Rotation0; ++i) {
        EXPECT_TRUE(Close(vertex[i], expected[i])) << i << ": " << vertex[i] << ' ' << expected[i];
    }
}

class SplatPly : public testing::Test {
  protected:
    test::TemporaryFolder folder_;
    const std::filesystem::path path_ = folder_ / "scene.ply";

    SplatFile Write(const GaussianSet& set, float keepRatio = 1.0F) {
        testing::internal::CaptureStdout();
        WriteSplatPly(set, FromPath(path_), kFocalPx, kWidth, kHeight, keepRatio);
        log_ = testing::internal::GetCapturedStdout();
        return TakeApart(test::ReadFile(path_));
    }

    // Writes the set both ways and compares the files.
    void ExpectAsPlain(const GaussianSet& set, float keepRatio = 1.0F) {
        const SplatFile file = Write(set, keepRatio);
        const std::filesystem::path plainPath = folder_ / "plain.ply";
        test::WritePlainSplatPly(set, FromPath(plainPath), kFocalPx, kWidth, kHeight, keepRatio);
        const SplatFile plain = TakeApart(test::ReadFile(plainPath));
        EXPECT_EQ(file.header, plain.header);
        EXPECT_EQ(file.camera, plain.camera);
        ASSERT_EQ(file.vertices.size(), plain.vertices.size());
        for (std::size_t i = 0; i < plain.vertices.size(); ++i) {
            ExpectSameVertex(file.vertices[i], plain.vertices[i]);
            ASSERT_FALSE(HasFailure()) << "vertex " << i;
        }
    }

    std::string log_;
};

TEST_F(SplatPly, SceneIsWrittenAsInThePlainWay) {
    // One Gaussian, blocks that are full, nearly full and just begun.
    for (const std::int32_t count : {1, 2, 255, 256, 257, 1000, 5000, 20'000}) {
        SCOPED_TRACE(count);
        ExpectAsPlain(test::SyntheticGaussians(count, static_cast<std::uint32_t>(count)));
    }
}

TEST_F(SplatPly, DecimatedSceneIsWrittenAsInThePlainWay) {
    const GaussianSet set = test::SyntheticGaussians(3000);
    for (const float ratio : {0.999F, 0.5F, 0.25F, 0.1F, 0.0F, -1.0F}) {
        SCOPED_TRACE(ratio);
        ExpectAsPlain(set, ratio);
    }
}

TEST_F(SplatPly, StrangeNumbersAreWrittenAsInThePlainWay) {
    const std::array strange = {0.0F,       -0.0F,      1e-40F, -1e-40F, 1e-10F, 1e-6F,
                                0.0031308F, 0.5F,       1.0F,   2.0F,    -1.0F,  3e38F,
                                kInfinity,  -kInfinity, kNaN,   -kNaN};
    GaussianSet set = test::SyntheticGaussians(2000);
    for (AttributeArray* array :
         {&set.means, &set.scales, &set.quaternions, &set.colors, &set.opacities}) {
        for (std::size_t i = 0; i < array->data.size(); i += 3) {
            array->data[i] = strange[i / 3 % strange.size()];
        }
    }
    ExpectAsPlain(set);
    ExpectAsPlain(set, 0.7F);
}

TEST_F(SplatPly, FieldsOfOneGaussian) {
    GaussianSet set;
    set.count = 1;
    set.means = {{1.5F, -2.5F, 4.0F}, 1, 3};
    set.scales = {{1.0F, 0.0F, 1e-10F}, 1, 3};
    set.quaternions = {{0.5F, -3.0F, 0.25F, 7.0F}, 1, 4};
    set.colors = {{0.0F, 1.0F, 0.0031308F}, 1, 3};
    set.opacities = {{1.0F}, 1, 1};
    const Vertex vertex = Write(set).vertices.at(0);
    const Vertex expected = {1.5F, -2.5F,      4.0F,       -1.77245F, 1.77245F, -1.62906F, 13.8155F,
                             0.0F, -23.02585F, -23.02585F, 0.5F,      -3.0F,    0.25F,     7.0F};
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_NEAR(vertex[i], expected[i], i == Opacity ? 0.05F : 1e-4F) << i;
    }
}

TEST_F(SplatPly, FileHasExactlyTheStatedSize) {
    for (const std::int32_t count : {0, 1, 9, 10, 777}) {
        Write(test::SyntheticGaussians(count));
        EXPECT_EQ(std::filesystem::file_size(path_), FileSize(count));
    }
    Write(test::SyntheticGaussians(100), 0.5F);
    EXPECT_EQ(std::filesystem::file_size(path_), FileSize(50));
}

TEST_F(SplatPly, EmptySceneIsAValidFile) {
    const SplatFile file = Write(GaussianSet());
    EXPECT_EQ(file.header, SplatPlyHeader(0));
    EXPECT_EQ(file.camera, SplatPlyCamera({kFocalPx, kWidth, kHeight, 0, {0.0F, 1.0F}}));
}

TEST_F(SplatPly, DecimatedEmptySceneStaysEmpty) {
    const SplatFile file = Write(GaussianSet(), 0.5F);
    EXPECT_TRUE(file.vertices.empty());
    EXPECT_EQ(file.camera, SplatPlyCamera({kFocalPx, kWidth, kHeight, 0, {0.0F, 1.0F}}));
    EXPECT_NE(log_.find("  Decimating: keeping 0 of 0\n"), std::string::npos) << log_;
}

// The disparities of what is written, not of what there was.
TEST_F(SplatPly, DisparityIsThatOfTheKeptGaussians) {
    GaussianSet set = test::SyntheticGaussians(4);
    set.scales.data.assign(12, 1.0F);
    set.opacities.data = {0.1F, 0.9F, 0.2F, 0.8F};
    for (std::size_t i = 0; i < 4; ++i) set.means.data[3 * i + 2] = static_cast<float>(1U << i);
    const SplatFile file = Write(set, 0.5F);
    EXPECT_EQ(file.camera, SplatPlyCamera({kFocalPx, kWidth, kHeight, 2, {0.125F, 0.5F}}));
}

TEST_F(SplatPly, QuarterOfTenKeepsTheTwoLargestInOrder) {
    GaussianSet set = test::SyntheticGaussians(10);
    set.scales.data.assign(30, 1.0F);
    set.opacities.data = {0.1F, 0.2F, 0.3F, 0.9F, 0.1F, 0.2F, 0.3F, 0.8F, 0.1F, 0.2F};
    const SplatFile file = Write(set, 0.25F);
    ASSERT_EQ(file.vertices.size(), 2U);
    EXPECT_TRUE(SameBits(&file.vertices[0][X], &set.means.data[9], 3));
    EXPECT_TRUE(SameBits(&file.vertices[1][X], &set.means.data[21], 3));
}

TEST_F(SplatPly, RatioThatIsNotBelowOneKeepsEverything) {
    const GaussianSet set = test::SyntheticGaussians(10);
    for (const float ratio : {1.0F, 1.5F, kInfinity, kNaN}) {
        EXPECT_EQ(Write(set, ratio).vertices.size(), 10U) << ratio;
        EXPECT_EQ(log_.find("Decimating"), std::string::npos) << ratio;
    }
}

TEST_F(SplatPly, WholeSceneLogsOneLine) {
    Write(test::SyntheticGaussians(10));
    EXPECT_EQ(log_, "INFO -   Saved PLY with 10 Gaussians to " + path_.native() + "\n");
}

TEST_F(SplatPly, DecimationLogsALineOfItsOwn) {
    Write(test::SyntheticGaussians(10), 0.25F);
    const std::size_t end = log_.find('\n') + 1;
    EXPECT_TRUE(log_.substr(0, end).ends_with(" - INFO -   Decimating: keeping 2 of 10\n")) << log_;
    EXPECT_EQ(log_.substr(end), "INFO -   Saved PLY with 2 Gaussians to " + path_.native() + "\n");
}

TEST_F(SplatPly, NameMayHoldAnyBytes) {
    const GaussianSet set = test::SyntheticGaussians(3);
    for (const char* name : {"\xE5\x86\x99\xE7\x9C\x9F #1.ply", "\xFF\xC3.ply"}) {
        testing::internal::CaptureStdout();
        WriteSplatPly(set, FromPath(folder_ / name), kFocalPx, kWidth, kHeight, 1.0F);
        const std::string log = testing::internal::GetCapturedStdout();
        EXPECT_EQ(std::filesystem::file_size(folder_ / name), FileSize(3)) << name;
        EXPECT_EQ(log,
                  "INFO -   Saved PLY with 3 Gaussians to " + (folder_ / name).native() + "\n");
    }
}

TEST_F(SplatPly, LongerOldFileIsReplaced) {
    folder_.Write("scene.ply", std::string(100'000, 'x'));
    Write(test::SyntheticGaussians(3));
    EXPECT_EQ(std::filesystem::file_size(path_), FileSize(3));
}

class FailedSplatPly : public SplatPly {
  protected:
    // What went wrong; nothing is logged then.
    static std::string FailureOf(const std::filesystem::path& path) {
        testing::internal::CaptureStdout();
        std::string text;
        try {
            WriteSplatPly(test::SyntheticGaussians(20'000), FromPath(path), kFocalPx, kWidth,
                          kHeight, 1.0F);
        } catch (const std::runtime_error& error) {
            text = error.what();
        }
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
        return text;
    }
};

TEST_F(FailedSplatPly, MissingFolderIsReportedAndNothingIsWritten) {
    EXPECT_EQ(FailureOf(folder_ / "missing/scene.ply"), "Cannot open output file");
    EXPECT_TRUE(std::filesystem::is_empty(folder_.Path()));
}

TEST_F(FailedSplatPly, FullDiskIsReported) {
    EXPECT_EQ(FailureOf("/dev/full"), "Cannot write output file: No space left on device");
}

TEST_F(FailedSplatPly, ReaderThatLeavesIsReported) {
    ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
    std::thread reader([this] {
        const int pipe = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
        char byte = 0;
        EXPECT_EQ(read(pipe, &byte, 1), 1);
        close(pipe);
    });
    EXPECT_EQ(FailureOf(path_), "Cannot write output file: Broken pipe");
    reader.join();
}

TEST_F(FailedSplatPly, FormerSceneStaysWhereTheNewOneIsTooLarge) {
    folder_.Write("scene.ply", "former");
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit small = {1'000'000, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const std::string failure = FailureOf(path_);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    EXPECT_EQ(failure, "Cannot write output file: File too large");
    EXPECT_EQ(test::ReadFile(path_), "former");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.Path()), {}), 1);
}

}  // namespace
}  // namespace vistrel
