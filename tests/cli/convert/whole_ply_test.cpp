#include "cli/convert/whole_ply.h"

#include <gtest/gtest.h>

#include <string>

#include "engine/splat_ply_format.h"
#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

class WholePly : public testing::Test {
  protected:
    // What a scene of `count` Gaussians begins with, as long as one of `present`.
    [[nodiscard]] std::filesystem::path Scene(int count, int present) const {
        std::string bytes =
            "ply\nformat binary_little_endian 1.0\nelement vertex " + std::to_string(count) + "\n";
        bytes.resize(static_cast<std::size_t>(SplatPlyFileSize(present)));
        return folder_.Write("scene.ply", bytes);
    }

    test::TemporaryFolder folder_;
};

TEST_F(WholePly, FileOfTheLengthThatItTellsIsWhole) {
    EXPECT_TRUE(IsWholeSplatPly(Scene(0, 0)));
    EXPECT_TRUE(IsWholeSplatPly(Scene(1000, 1000)));
}

TEST_F(WholePly, FileOfAnotherLengthIsNotWhole) {
    EXPECT_FALSE(IsWholeSplatPly(Scene(1000, 999)));
    EXPECT_FALSE(IsWholeSplatPly(Scene(999, 1000)));
}

TEST_F(WholePly, FileWithoutACountIsNotWhole) {
    EXPECT_FALSE(IsWholeSplatPly(folder_.Write("scene.ply", "")));
    EXPECT_FALSE(IsWholeSplatPly(folder_.Write("scene.ply", "ply\nformat\nelement face 0\n")));
}

TEST_F(WholePly, WhatIsNoFileHasNoLengthToCheck) {
    EXPECT_TRUE(IsWholeSplatPly("/dev/null"));
}

TEST_F(WholePly, FileThatCannotBeLookedAtIsNotWhole) {
    std::filesystem::create_symlink("loop.ply", folder_ / "loop.ply");
    EXPECT_FALSE(IsWholeSplatPly(folder_ / "loop.ply"));
}

}  // namespace
}  // namespace vistrel
