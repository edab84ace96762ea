#include "cli/snapshot/work_folder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

using test::TemporaryFolder;

TEST(WorkFolder, IsTheUsersAloneAndGoneAfterwards) {
    const TemporaryFolder parent;
    setenv("TMPDIR", parent.Path().c_str(), 1);
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
    for (const std::filesystem::path& wanted :
         {parent / "none", parent / "a #b", std::filesystem::path("relative"),
          std::filesystem::path()}) {
        setenv("TMPDIR", wanted.c_str(), 1);
        EXPECT_EQ(WorkFolder().Path().parent_path(), "/tmp") << wanted;
    }
    unsetenv("TMPDIR");
    EXPECT_EQ(WorkFolder().Path().parent_path(), "/tmp");
}

}  // namespace
}  // namespace vistrel
