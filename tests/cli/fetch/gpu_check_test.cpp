// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/fetch/gpu_check.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "base/text_encoding.h"
#include "base/user_folders.h"
#include "tests/support/another_process.h"
#include "tests/support/own_home.h"

namespace vistrel {
namespace {

namespace fs = std::filesystem;

// Everything that CUDA needs lies in the user's folder, but the driver tells nothing.
class GpuCheck : public testing::Test {
  protected:
    GpuCheck() {
        const fs::path folder = ToPath(RuntimeFolder());
        fs::create_directories(folder);
        for (const char* const kind : {"cuda", "nvidia"}) {
            for (const auto& entry : fs::directory_iterator(fs::path(VISTREL_RUNTIMES) / kind)) {
                fs::create_symlink(entry.path(), folder / entry.path().filename());
            }
        }
    }

    // What is opened stays so until the process ends.
    [[nodiscard]] bool Check() const {
        return test::Join(test::Fork([this] { return CheckGpu(driver_); }, false));
    }

    test::OwnHome home_;
    fs::path driver_ = home_.Home() / "version";
};

TEST_F(GpuCheck, IsContentWhenEverythingIsThere) {
    std::ofstream(driver_) << "NVRM version: NVIDIA UNIX x86_64 Kernel Module  535.183.01\n";
    EXPECT_TRUE(Check());
}

TEST_F(GpuCheck, MissesTheDriver) {
    EXPECT_FALSE(Check());
}

TEST_F(GpuCheck, MissesOneLibrary) {
    std::ofstream(driver_) << "NVRM version: NVIDIA UNIX x86_64 Kernel Module  535.183.01\n";
    fs::remove(ToPath(RuntimeFolder()) / "libcudnn_vistrel.so.9");
    EXPECT_FALSE(Check());
}

}  // namespace
}  // namespace vistrel
