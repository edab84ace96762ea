// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/scene_link.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "base/text_encoding.h"
#include "tests/support/temporary_folder.h"
#include "viewer/page_path.h"

namespace vistrel::test {
namespace {

class SceneLinkTest : public testing::Test {
  protected:
    SceneLinkTest() { std::filesystem::create_directory(links); }

    [[nodiscard]] std::wstring Scene(const std::string& name) const {
        const std::filesystem::path file = folder.Path() / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << name;
        return FromPath(file);
    }

    // As a page in the links' folder finds it.
    [[nodiscard]] std::string Content(const std::wstring& path) const {
        std::ifstream file(links / ToPath(path));
        return {std::istreambuf_iterator<char>(file), {}};
    }

    [[nodiscard]] bool HasLinks() const { return !std::filesystem::is_empty(links); }

    TemporaryFolder folder;
    const std::filesystem::path links = folder.Path() / "links";
    SceneLink link{FromPath(links)};
};

TEST_F(SceneLinkTest, PlainNameIsItsOwn) {
    for (const char* name :
         {"a.ply", "my scans/a b.spz", "\xe6\xb9\x96.ksplat", "it's (1).splat"}) {
        const std::wstring path = Scene(name);
        EXPECT_EQ(link.PathFor(path), path);
    }
    EXPECT_FALSE(HasLinks());
}

TEST_F(SceneLinkTest, NameThatAnAddressCannotCarryGetsALink) {
    for (const char* name :
         {"C#/a.ply", "a&b.ply", "50%41.ply", "C++.spz", "back\\slash.ply", "why?/a.ply",
          "two\nlines.splat", "\xff.ksplat", "a #&+%'\" \xff.splat"}) {
        const std::wstring path = link.PathFor(Scene(name));
        EXPECT_TRUE(PageCanBeTold(path)) << name;
        EXPECT_EQ(ToPath(path).extension(), std::filesystem::path(name).extension());
        EXPECT_EQ(Content(path), name);
    }
}

TEST_F(SceneLinkTest, EndingInCapitalsBecomesSmall) {
    const std::wstring path = link.PathFor(Scene("A.Ply"));
    EXPECT_TRUE(path.ends_with(L".ply"));
    EXPECT_EQ(Content(path), "A.Ply");
}

TEST_F(SceneLinkTest, LinkLastsUntilTheNextScene) {
    const std::wstring first = link.PathFor(Scene("C#.ply"));
    EXPECT_EQ(Content(link.PathFor(Scene("D#.ply"))), "D#.ply");
    const std::wstring plain = Scene("plain.ply");
    EXPECT_EQ(link.PathFor(plain), plain);
    EXPECT_FALSE(HasLinks());
}

TEST_F(SceneLinkTest, LinkEndsWithItsOwner) {
    {
        SceneLink another(FromPath(links));
        ASSERT_NE(another.PathFor(Scene("C#.ply")), L"");
        ASSERT_TRUE(HasLinks());
    }
    EXPECT_FALSE(HasLinks());
    EXPECT_TRUE(std::filesystem::exists(folder.Path() / "C#.ply"));
}

TEST_F(SceneLinkTest, LinkOfAKilledProgramIsReplaced) {
    const std::wstring name = link.PathFor(Scene("C#.ply"));
    std::filesystem::remove(links / ToPath(name));
    std::filesystem::create_symlink("nowhere", links / ToPath(name));
    EXPECT_EQ(Content(link.PathFor(Scene("D#.ply"))), "D#.ply");
}

TEST_F(SceneLinkTest, WithoutAFolderForLinksThePathStaysAsItIs) {
    SceneLink nowhere(FromPath(folder.Path() / "missing"));
    const std::wstring path = Scene("C#.ply");
    EXPECT_EQ(nowhere.PathFor(path), path);
}

}  // namespace
}  // namespace vistrel::test
