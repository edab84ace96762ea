// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/snapshot/work_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/support/own_home.h"
#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

using test::TemporaryFolder;

TEST(WorkFolder, IsTheUsersAloneAndGoneAfterwards) {
    const TemporaryFolder parent;
    test::Variables variables;
    variables.Set("TMPDIR", parent.Path());
    std::filesystem::path path;
    {
        const WorkFolder folder;
        path = folder.Path();
        EXPECT_EQ(path.parent_path(), parent.Path());
        EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms::owner_all);
        std::filesystem::create_directory(path / "sub");
        std::ofstream(path / "sub" / "file") << "text";
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(WorkFolder, LiesInTmpWhereTheWantedFolderWillNotDo) {
    const TemporaryFolder parent;
    std::filesystem::create_directory(parent / "a #b");
    test::Variables variables;
    for (const std::filesystem::path& wanted :
         {parent / "none", parent / "a #b", std::filesystem::path("relative"),
          std::filesystem::path()}) {
        variables.Set("TMPDIR", wanted);
        EXPECT_EQ(WorkFolder().Path().parent_path(), "/tmp") << wanted;
    }
    variables.Unset("TMPDIR");
    EXPECT_EQ(WorkFolder().Path().parent_path(), "/tmp");
}

}  // namespace
}  // namespace vistrel
