// SPDX-License-Identifier: GPL-3.0-or-later
#include "download/part_file.h"

#include <gtest/gtest.h>

#include <string>
#include <system_error>

#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

class PartFileTest : public testing::Test {
  protected:
    const PartOrigin origin_ = {"https://hub.test/a b", "\"tag\"", 7, std::string(64, 'a')};
    test::TemporaryFolder folder_;
    std::filesystem::path file_ = folder_ / "net.onnx";
    std::filesystem::path part_ = PartNameOf(file_);
    std::filesystem::path originFile_ = OriginNameOf(file_);
};

TEST_F(PartFileTest, OutlivesTheObjectWithItsOrigin) {
    {
        PartFile part(file_);
        part.Begin(origin_);
        part.Append("some");
    }
    PartFile part(file_);
    EXPECT_EQ(part.Size(), 4);
    EXPECT_EQ(ReadPartOrigin(file_), origin_);
    part.Append("thing");
    EXPECT_EQ(test::ReadFile(part_), "something");
    EXPECT_FALSE(std::filesystem::exists(file_));
}

TEST_F(PartFileTest, TakesThePlaceOfAFormerFile) {
    folder_.Write("net.onnx", "former");
    PartFile part(file_);
    part.Begin(origin_);
    part.Append("new");
    EXPECT_EQ(test::ReadFile(file_), "former");
    part.Commit();
    EXPECT_EQ(test::ReadFile(file_), "new");
    EXPECT_FALSE(std::filesystem::exists(part_));
    EXPECT_FALSE(std::filesystem::exists(originFile_));
}

TEST_F(PartFileTest, IsGoneWhenItIsOfNoUse) {
    PartFile part(file_);
    part.Begin(origin_);
    part.Discard();
    EXPECT_TRUE(std::filesystem::is_empty(folder_.Path()));
}

TEST_F(PartFileTest, BelongsToOneAtATime) {
    {
        const PartFile part(file_);
        EXPECT_THROW(PartFile{file_}, PartIsBusy);
    }
    EXPECT_NO_THROW(PartFile{file_});
}

TEST_F(PartFileTest, OfAnotherAfterItIsWholeIsAnother) {
    PartFile part(file_);
    part.Begin(origin_);
    part.Append("whole");
    part.Commit();
    const PartFile next(file_);
    EXPECT_EQ(next.Size(), 0);
    EXPECT_EQ(test::ReadFile(file_), "whole");
}

TEST_F(PartFileTest, IsNoLinkAndNoFolder) {
    std::filesystem::create_symlink(folder_.Write("other", "mine"), part_);
    EXPECT_THROW(PartFile{file_}, std::system_error);
    EXPECT_EQ(test::ReadFile(folder_ / "other"), "mine");
    std::filesystem::remove(part_);
    std::filesystem::create_directory(part_);
    EXPECT_THROW(PartFile{file_}, std::system_error);
}

TEST_F(PartFileTest, BrokenOriginsAreNone) {
    EXPECT_FALSE(ReadPartOrigin(file_));
    for (const char* text :
         {"", "url a\n", "url a\netag \nsize x\nsha256 \n", "url a\netag \nsize 1\nsha256 ",
          "url a\netag \nsize 1\nsha256 \nmore\n", "etag \nurl a\nsize 1\nsha256 \n"}) {
        folder_.Write(originFile_.filename().native(), text);
        EXPECT_FALSE(ReadPartOrigin(file_)) << text;
    }
}

}  // namespace
}  // namespace vistrel
