// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/scene_formats.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "formats/compressed_ply.h"
#include "formats/ply.h"
#include "formats/spz.h"
#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

TEST(SceneFormats, ListTellsTheEndings) {
    EXPECT_EQ(ListOf(kWrittenEndings), ".ply, .compressed.ply, .splat, .spz, .sog, .glb");
}

TEST(SceneFormats, EveryWrittenEndingHasAWriterInSmallAndLargeLetters) {
    for (const std::string_view ending : kWrittenEndings) {
        EXPECT_NE(SceneWriterFor("a" + std::string(ending)), nullptr) << ending;
    }
    EXPECT_EQ(SceneWriterFor("a.b.SPZ"), WriteSpz);
    EXPECT_EQ(SceneWriterFor("a.PLY"), WritePly);
    EXPECT_EQ(SceneWriterFor("a.Compressed.Ply"), WriteCompressedPly);
}

TEST(SceneFormats, OtherNamesHaveNoWriter) {
    for (const char* const name : {"a", "a.txt", ".spz", "spz", "a.ksplat", "a.gltf", "a.spz "}) {
        EXPECT_EQ(SceneWriterFor(name), nullptr) << name;
    }
}

TEST(SceneFormats, NamesOfScenesAreKnown) {
    for (const std::string_view ending : kReadEndings) {
        EXPECT_TRUE(HasSceneEnding("folder.d/a" + std::string(ending))) << ending;
    }
    EXPECT_TRUE(HasSceneEnding("A.KSPLAT"));
    for (const char* const name : {"a", "a.jpg", ".ply", "ply", "a.ply.txt"}) {
        EXPECT_FALSE(HasSceneEnding(name)) << name;
    }
}

TEST(SceneFormats, FirstBytesTellScenes) {
    for (const char* const start :
         {"ply\nformat", "ply\r\n", "\x1F\x8B\x08", "NGSP", "PK\3\4", "glTF"}) {
        EXPECT_TRUE(StartsLikeScene(start)) << start;
    }
    for (const char* const start : {"", "p", "plywood", "\xFF\xD8\xFF", "\x89PNG", "{", "PK"}) {
        EXPECT_FALSE(StartsLikeScene(start)) << start;
    }
}

TEST(SceneFormats, WhatNoFormatTakesIsRefused) {
    const test::TemporaryFolder folder;
    RawSceneSink sink;
    EXPECT_THROW(ReadSceneFile(folder.Write("a.ply", "no scene"), sink), std::runtime_error);
    EXPECT_THROW(ReadSceneFile(folder / "none.ply", sink), std::runtime_error);
    EXPECT_THROW(ReadSceneFile(folder.Path(), sink), std::runtime_error);
}

}  // namespace
}  // namespace vistrel
