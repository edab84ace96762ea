// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/relief_demo.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "base/text_encoding.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/test_models.h"

namespace vistrel {
namespace {

TEST(ReliefDemo, IsKnownUnderAnyName) {
    const test::TemporaryFolder folder;
    std::filesystem::copy_file(VISTREL_RELIEF, folder / "sharp_fp16.onnx");
    EXPECT_TRUE(IsReliefDemo(FromUtf8(VISTREL_RELIEF)));
    EXPECT_TRUE(IsReliefDemo(FromPath(folder / "sharp_fp16.onnx")));
}

TEST(ReliefDemo, IsNoOtherNetwork) {
    const test::TemporaryFolder folder;
    std::filesystem::copy_file(test::ModelFile("echo"), folder / "vistrel_relief_demo.onnx");
    EXPECT_FALSE(IsReliefDemo(FromPath(folder / "vistrel_relief_demo.onnx")));
}

TEST(ReliefDemo, IsNothingThatCannotBeRead) {
    const test::TemporaryFolder folder;
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    for (const char* name : {"missing", "pipe", ""})
        EXPECT_FALSE(IsReliefDemo(FromPath(folder / name))) << name;
    EXPECT_FALSE(IsReliefDemo(FromPath(folder.Write("empty", ""))));
}

}  // namespace
}  // namespace vistrel
