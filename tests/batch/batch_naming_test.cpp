// SPDX-License-Identifier: GPL-3.0-or-later
// Which files a batch takes and what their outputs are called.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>

#include "tests/batch/batch_fixture.h"

namespace vistrel {
namespace {

using Names = std::vector<std::string>;

TEST(IsSupportedImageExtension, TakesFiveExtensionsInAnyCase) {
    for (const wchar_t* extension :
         {L".jpg", L".jpeg", L".png", L".bmp", L".webp", L".JPG", L".Jpeg", L".pNG", L".WEBP"}) {
        EXPECT_TRUE(IsSupportedImageExtension(extension)) << ToUtf8(extension);
    }
}

TEST(IsSupportedImageExtension, RefusesAllOthers) {
    for (const wchar_t* extension : {L"", L".", L"jpg", L".jpe", L".jpgx", L".jpg ", L" .jpg",
                                     L".tif", L".gif", L".ply", L"..jpg", L"/.jpg"}) {
        EXPECT_FALSE(IsSupportedImageExtension(extension)) << ToUtf8(extension);
    }
}

TEST(IsSupportedImageExtension, FoldsAsciiLettersOnly) {
    EXPECT_FALSE(IsSupportedImageExtension(L".\uFF4A\uFF50\uFF47"));  // full-width letters
    EXPECT_FALSE(IsSupportedImageExtension(std::wstring_view(L".jpg\0", 5)));
}

class MakeUniqueOutputPathTest : public testing::Test {
  protected:
    [[nodiscard]] std::string Unique(const std::string& name) const {
        return ToPath(MakeUniqueOutputPath(FromPath(folder_ / name))).filename().native();
    }

    static std::string Numbered(int number) {
        std::string name = "photo(";
        name += std::to_string(number);
        name += ").ply";
        return name;
    }

    test::TemporaryFolder folder_;
};

TEST_F(MakeUniqueOutputPathTest, NumberStandsBehindTheStemWithoutABlank) {
    EXPECT_EQ(Unique("photo.ply"), "photo(1).ply");
}

TEST_F(MakeUniqueOutputPathTest, FirstFreeNumberIsTaken) {
    for (const int number : {1, 2, 4}) {
        folder_.Write(Numbered(number), "");
    }
    EXPECT_EQ(Unique("photo.ply"), "photo(3).ply");
}

TEST_F(MakeUniqueOutputPathTest, NumbersHaveNoUpperBound) {
    for (int number = 1; number <= 120; ++number) {
        folder_.Write(Numbered(number), "");
    }
    EXPECT_EQ(Unique("photo.ply"), "photo(121).ply");
}

TEST_F(MakeUniqueOutputPathTest, FolderOfThatNameIsNotFreeEither) {
    std::filesystem::create_directory(folder_ / "photo(1).ply");
    EXPECT_EQ(Unique("photo.ply"), "photo(2).ply");
}

TEST_F(MakeUniqueOutputPathTest, OnlyTheLastExtensionGoesBehindTheNumber) {
    EXPECT_EQ(Unique("a.b.ply"), "a.b(1).ply");
    EXPECT_EQ(Unique("photo"), "photo(1)");
}

TEST_F(MakeUniqueOutputPathTest, EndingOfTwoPartsGoesBehindTheNumberAsAWhole) {
    const std::wstring path = FromPath(folder_ / "a.b.compressed.ply");
    EXPECT_EQ(ToPath(MakeUniqueOutputPath(path, ".compressed.ply")).filename(),
              "a.b(1).compressed.ply");
}

TEST(FreeOutputPath, IsTheNameItselfUntilAFileHasIt) {
    const test::TemporaryFolder folder;
    const auto name = [&] {
        return ToPath(FreeOutputPath(FromPath(folder / "a.b.spz"), ".spz")).filename();
    };
    EXPECT_EQ(name(), "a.b.spz");
    folder.Write("a.b.spz", "");
    EXPECT_EQ(name(), "a.b(1).spz");
}

TEST_F(MakeUniqueOutputPathTest, AnyBytesStay) {
    EXPECT_EQ(Unique("\xE5\x86\x99 \xFF#%d.ply"), "\xE5\x86\x99 \xFF#%d(1).ply");
}

TEST_F(MakeUniqueOutputPathTest, NameThatGrowsTooLongEndsTheSearch) {
    const std::string longest = std::string(251, 'x');
    std::string name = longest;
    name += ".ply";
    EXPECT_EQ(Unique(name).size(), name.size() + 3);
}

TEST(MakeUniqueOutputPath, PathWithoutFolderStaysWithoutOne) {
    EXPECT_EQ(MakeUniqueOutputPath(L"no such scene.ply"), L"no such scene(1).ply");
}

class BatchNaming : public test::BatchFixture {};

TEST_F(BatchNaming, OnlyPicturesOfTheFolderItselfAreTaken) {
    for (const char* name : {"IMG.JPG", "a.Jpeg", "b.WEBP", "e.bmp", "c.jpe", "d.tif", "e.gif",
                             "jpg", ".png", "f.png.txt"}) {
        AddPicture(name);
    }
    std::filesystem::create_directory(input_ / "x.png");
    AddPicture("x.png/deep.png");
    Run();
    std::vector<std::wstring> names;
    for (const auto& [number, name] : ReportedFiles()) names.push_back(name);
    std::ranges::sort(names);
    EXPECT_EQ(names, (std::vector<std::wstring>{L"IMG.JPG", L"a.Jpeg", L"b.WEBP", L"e.bmp"}));
}

TEST_F(BatchNaming, LastExtensionIsReplaced) {
    AddPicture("a.b.png");
    AddPicture(" .jpg");
    AddPicture("..jpg");
    Run();
    EXPECT_EQ(Outputs(), (Names{" .ply", "..ply", "a.b.ply"}));
}

}  // namespace
}  // namespace vistrel
