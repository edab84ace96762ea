// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/convert/scene_names.h"

#include <gtest/gtest.h>

#include <set>

namespace vistrel {
namespace {

using Names = std::vector<std::string>;

TEST(SceneNames, EndingTakesThePlaceOfThePhotographs) {
    EXPECT_EQ(SceneNames({"a.jpg", "b.c.PNG", "\xFF d.heic"}, ".compressed.ply"),
              (Names{"a.compressed.ply", "b.c.compressed.ply", "\xFF d.compressed.ply"}));
    EXPECT_EQ(SceneNames({}, ".ply"), Names{});
}

TEST(SceneNames, AllOfOneStemKeepTheirWholeNames) {
    EXPECT_EQ(SceneNames({"a.CR3", "a.jpg", "b.jpg", "a.png"}, ".spz"),
              (Names{"a.CR3.spz", "a.jpg.spz", "b.spz", "a.png.spz"}));
}

TEST(SceneNames, WholeNameThatIsTheShortOneOfAnotherStaysApart) {
    const Names names = SceneNames({"a.jpg", "a.png", "a.jpg.tif", "a.jpg.tif.jxl"}, ".ply");
    EXPECT_EQ(names, (Names{"a.jpg.ply", "a.png.ply", "a.jpg.tif.ply", "a.jpg.tif.jxl.ply"}));
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), names.size());
}

TEST(NameWithoutEnding, KnowsTheEndingOfTwoParts) {
    EXPECT_EQ(NameWithoutEnding("in/a.b.compressed.ply"), "a.b");
    EXPECT_EQ(NameWithoutEnding("a.Compressed.PLY"), "a");
    EXPECT_EQ(NameWithoutEnding("a.compressed.spz"), "a.compressed");
}

}  // namespace
}  // namespace vistrel
