// SPDX-License-Identifier: GPL-3.0-or-later
// What the engine takes from the machine beside ONNX Runtime.
#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/text_encoding.h"
#include "engine/conversion_engine.h"
#include "engine/model_output.h"
#include "engine/splat_ply.h"
#include "engine/unprojection.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/test_models.h"
#include "tests/support/test_pictures.h"

namespace vistrel {
namespace {

constexpr std::int64_t kMiB = 1024 * 1024;
constexpr std::int64_t kGaussians = 2 * 768 * 768;
constexpr std::int64_t kSetBytes = kGaussians * 14 * 4;
constexpr std::int64_t kTensorBytes = std::int64_t{3} * kNetworkSide * kNetworkSide * 4;
constexpr std::int64_t kSlack = 16 * kMiB;

// A line of /proc/self/status, in bytes.
std::int64_t Status(const std::string& key) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(key + ":")) return std::stoll(line.substr(key.size() + 1)) * 1024;
    }
    throw std::runtime_error("no " + key);
}

// How far the resident memory rises above where it is now while `work` runs.
template <typename Function>
std::int64_t PeakOf(Function work) {
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5";  // sets the peak back to the present value
    const std::int64_t before = Status("VmRSS");
    work();
    return Status("VmHWM") - before;
}

TEST(Memory, StagesAfterTheNetworkHoldOneSet) {
    const std::vector<float> values(static_cast<std::size_t>(kGaussians) * 14, 0.25F);
    const ModelOutput output{true, {1, kGaussians, 14}, values};
    const std::int64_t peak = PeakOf([&] {
        GaussianSet gaussians = ParseModelOutputs({&output, 1});
        UnprojectGaussians(gaussians, 4000.0F, 4000, 3000, kNetworkSide);
        WriteSplatPly(gaussians, L"/dev/null", 4000.0F, 4000, 3000, 1.0F);
    });
    EXPECT_GE(peak, kSetBytes);  // else the measurement itself is broken
    EXPECT_LE(peak, kSetBytes + kSlack);
}

TEST(Memory, ThinningTheSceneHoldsOneSetToo) {
    const std::vector<float> values(static_cast<std::size_t>(kGaussians) * 14, 0.25F);
    const ModelOutput output{true, {1, kGaussians, 14}, values};
    const std::int64_t peak = PeakOf([&] {
        const GaussianSet gaussians = ParseModelOutputs({&output, 1});
        WriteSplatPly(gaussians, L"/dev/null", 4000.0F, 4000, 3000, 0.5F);
    });
    EXPECT_LE(peak, kSetBytes + kSlack);
}

TEST(Memory, PictureAfterPictureTakesTheSame) {
    const test::TemporaryFolder folder;
    const std::filesystem::path photo =
        folder.Write("photo.png", test::EncodePng(test::NoisePicture(400, 300)));
    const ConversionEngine engine;
    const auto convert = [&] {
        ASSERT_TRUE(engine.Run(
            {FromPath(test::ModelFile("echo")), FromPath(photo), FromPath(folder / "out.ply")}));
    };
    // What is set up once, in threads whose stacks are used again, too, and the allocator's
    // reserve.
    for (int i = 0; i < 8; ++i) convert();

    const std::int64_t ofOne = PeakOf(convert);
    EXPECT_LE(ofOne, kTensorBytes + kSlack);

    const std::size_t inUse = mallinfo2().uordblks;
    const std::int64_t ofTen = PeakOf([&] {
        for (int i = 0; i < 10; ++i) convert();
    });
    EXPECT_LE(ofTen, ofOne + 4 * kMiB);  // a buffer that stayed would be seven times that
    EXPECT_LE(mallinfo2().uordblks, inUse + 4096);
}

}  // namespace
}  // namespace vistrel
