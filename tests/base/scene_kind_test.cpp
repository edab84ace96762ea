// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/scene_kind.h"

#include <gtest/gtest.h>

namespace vistrel {
namespace {

TEST(SceneKind, EveryEndingIsAScenesInAnyCase) {
    for (const char* name : {"a.ply", "/b/a.PLY", "a.Splat", "a.b.spz", "a.kSplat"}) {
        EXPECT_TRUE(IsSceneName(name)) << name;
    }
}

TEST(SceneKind, OtherNamesAreNot) {
    for (const char* name : {"a.jpg", "a.plyx", "ply", ".ply", "a.ply.png", "a.ply ", "a.ply/b"}) {
        EXPECT_FALSE(IsSceneName(name)) << name;
    }
}

TEST(SceneKind, OnlyCapitalsOfAsciiBecomeSmall) {
    EXPECT_EQ(SmallEnding("A.B\xC3\x84\xFFZ"), ".b\xC3\x84\xFFz");
    EXPECT_EQ(SmallEnding("A"), "");
}

}  // namespace
}  // namespace vistrel
