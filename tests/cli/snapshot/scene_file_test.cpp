// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/snapshot/scene_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/capture.h"
#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

using test::FailureOf;
using test::TemporaryFolder;

std::string CheckFailure(const std::filesystem::path& scene) {
    return FailureOf([&] { CheckScene(scene); });
}

TEST(SceneFile, EveryEndingIsTaken) {
    const TemporaryFolder folder;
    for (const char* name : {"a.ply", "a.splat", "a.ksplat", "a.spz", "A.PLY", "a.b.Spz"}) {
        EXPECT_EQ(CheckFailure(folder.Write(name, "")), "") << name;
    }
}

TEST(SceneFile, OtherEndingsAreRefused) {
    const TemporaryFolder folder;
    for (const char* name : {"a.jpg", "ply", ".ply", "a.ply.txt", "a.ply "}) {
        const auto path = folder.Write(name, "");
        EXPECT_EQ(CheckFailure(path), path.native() +
                                          " is no scene: its name does not end in .ply, "
                                          ".splat, .spz or .ksplat");
    }
}

TEST(SceneFile, MissingFileAndFolderAreRefused) {
    const TemporaryFolder folder;
    const std::filesystem::path path = folder / "a.ply";
    EXPECT_EQ(CheckFailure(path), "there is no file " + path.native());
    std::filesystem::create_directory(path);
    EXPECT_EQ(CheckFailure(path), path.native() + " is no file");
}

TEST(SceneFile, RelativeSceneIsFoundFromEverywhere) {
    const TemporaryFolder folder;
    folder.Write("a.ply", "scene");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.Path());
    const auto scene = AbsoluteScene("a.ply");
    std::filesystem::current_path(before);
    EXPECT_EQ(test::ReadFile(scene), "scene");
}

TEST(SceneFile, LinkToASceneKeepsItsOwnName) {
    const TemporaryFolder folder;
    std::filesystem::create_symlink(folder.Write("bytes", "scene"), folder / "a.ply");
    EXPECT_EQ(AbsoluteScene(folder / "." / "a.ply"),
              std::filesystem::canonical(folder.Path()) / "a.ply");
}

}  // namespace
}  // namespace vistrel
