// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/new_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>

#include "tests/base/new_file_fixture.h"

namespace vistrel {
namespace {

using test::Megabyte;
using test::ReadFile;
using test::WriteWhole;

constexpr mode_t kPermissions = 07777;

struct stat StatusOf(const std::filesystem::path& path) {
    struct stat status = {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0);
    return status;
}

class NewFileOf : public test::OnBothFileSystems {};
INSTANTIATE_TEST_SUITE_P(Files, NewFileOf, test::kBothFileSystems, test::NameOf);

TEST_P(NewFileOf, AppearsWhenItIsCommitted) {
    Run([this] {
        NewFile file(folder_ / "file");
        test::WriteInPieces(file, Megabyte(), 50'000);
        EXPECT_FALSE(std::filesystem::exists(folder_ / "file"));
        file.Commit();
        EXPECT_TRUE(ReadFile(folder_ / "file") == Megabyte());
        EXPECT_EQ(Entries(), 1);
    });
}

TEST_P(NewFileOf, ShowsMeanwhileAPartAtMost) {
    Run([this] {
        const NewFile file(folder_ / "file");
        EXPECT_EQ(Entries(), HasUnnamedFiles() ? 0 : 1);
        for (const auto& entry : std::filesystem::directory_iterator(folder_.Path())) {
            EXPECT_EQ(entry.path().extension(), ".part");
        }
    });
}

TEST_P(NewFileOf, PiecesFollowEachOther) {
    Run([this] {
        for (const std::size_t piece :
             {std::size_t{7}, std::size_t{4096}, NewFile::kLargestPiece, Megabyte().size()}) {
            NewFile file(folder_ / "file");
            test::WriteInPieces(file, Megabyte(), piece);
            file.Commit();
            EXPECT_TRUE(ReadFile(folder_ / "file") == Megabyte()) << piece;
        }
    });
}

TEST_P(NewFileOf, RoomIsFilledLater) {
    Run([this] {
        NewFile file(folder_ / "file");
        file.Append("ab");
        std::ranges::fill(file.Next(3), std::byte{'c'});
        file.Append("d");
        file.Commit();
        EXPECT_EQ(ReadFile(folder_ / "file"), "abcccd");
    });
}

TEST_P(NewFileOf, WhatIsLeftOutIsFilledInAnyOrder) {
    Run([this] {
        NewFile file(folder_ / "file");
        file.Append("ab");
        const auto place = file.LeaveOut(6);
        ASSERT_EQ(place, 2U);
        file.Append("i");
        file.WriteAt(*place + 4, std::as_bytes(std::span("gh", 2)));
        file.WriteAt(*place, std::as_bytes(std::span("cdef", 4)));
        file.Commit();
        EXPECT_EQ(ReadFile(folder_ / "file"), "abcdefghi");
    });
}

TEST_P(NewFileOf, NothingWrittenGivesAnEmptyFile) {
    Run([this] { WriteWhole(folder_ / "file", ""); });
    EXPECT_EQ(ReadFile(folder_ / "file"), "");
}

TEST_P(NewFileOf, ShorterFileReplacesALongerOne) {
    const auto path = folder_.Write("file", "something longer");
    Run([&] { WriteWhole(path, "new", {.durability = Durability::kOnDisk}); });
    EXPECT_EQ(ReadFile(path), "new");
    EXPECT_EQ(Entries(), 1);
}

TEST_P(NewFileOf, ReaderOfTheOldFileKeepsIt) {
    const auto path = folder_.Write("file", "old");
    std::ifstream reader(path);
    Run([&] { WriteWhole(path, "new"); });
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}), "old");
}

TEST_P(NewFileOf, WithoutCommitNothingIsLeft) {
    Run([this] {
        NewFile file(folder_ / "file");
        test::WriteInPieces(file, Megabyte(), 50'000);
    });
    EXPECT_EQ(Entries(), 0);
}

TEST_P(NewFileOf, WithoutCommitTheFormerFileIsLeft) {
    const auto path = folder_.Write("file", "former");
    Run([&] {
        NewFile file(path);
        test::WriteInPieces(file, Megabyte(), 50'000);
        file.Finish();
    });
    EXPECT_EQ(ReadFile(path), "former");
    EXPECT_EQ(Entries(), 1);
}

TEST_P(NewFileOf, FileThatAppearsMeanwhileIsReplaced) {
    Run([this] {
        NewFile file(folder_ / "file");
        file.Append("new");
        folder_.Write("file", "theirs");
        file.Commit();
    });
    EXPECT_EQ(ReadFile(folder_ / "file"), "new");
    EXPECT_EQ(Entries(), 1);
}

TEST_P(NewFileOf, FormerFileThatVanishesMeanwhileIsReplaced) {
    const auto path = folder_.Write("file", "former");
    Run([&] {
        NewFile file(path);
        file.Append("new");
        std::filesystem::remove(path);
        file.Commit();
    });
    EXPECT_EQ(ReadFile(path), "new");
    EXPECT_EQ(Entries(), 1);
}

TEST_P(NewFileOf, TheSameNameTwiceAtATimeIsTheLastOne) {
    Run([this] {
        NewFile first(folder_ / "file");
        NewFile second(folder_ / "file");
        first.Append("first");
        second.Append("second");
        second.Commit();
        first.Commit();
    });
    EXPECT_EQ(ReadFile(folder_ / "file"), "first");
    EXPECT_EQ(Entries(), 1);
}

TEST_P(NewFileOf, PartsOfOthersAreLeftAlone) {
    folder_.Write(".vistrel-1.part", "theirs");
    Run([this] { WriteWhole(folder_ / "file", "new"); });
    EXPECT_EQ(ReadFile(folder_ / ".vistrel-1.part"), "theirs");
    EXPECT_EQ(Entries(), 2);
}

TEST_P(NewFileOf, PermissionsOfTheFormerFileAreKept) {
    const auto path = folder_.Write("file", "former");
    for (const unsigned mode : {0600U, 0666U, 0755U}) {
        std::filesystem::permissions(path, std::filesystem::perms{mode});
        Run([&] { WriteWhole(path, "new"); });
        EXPECT_EQ(StatusOf(path).st_mode & kPermissions, mode);
    }
}

// For whoever may give files away; the tests of others see that their own stay theirs.
TEST_P(NewFileOf, OwnerOfTheFormerFileIsKept) {
    const auto path = folder_.Write("file", "former");
    if (geteuid() == 0) {
        ASSERT_EQ(chown(path.c_str(), 1, 2), 0);
    }
    const struct stat before = StatusOf(path);
    Run([&] { WriteWhole(path, "new"); });
    EXPECT_EQ(StatusOf(path).st_uid, before.st_uid);
    EXPECT_EQ(StatusOf(path).st_gid, before.st_gid);
}

TEST_P(NewFileOf, PermissionsAreTheUsualOnesWithoutAFormerFile) {
    const mode_t before = umask(027);
    Run([this] { WriteWhole(folder_ / "file", "new"); });
    umask(before);
    EXPECT_EQ(StatusOf(folder_ / "file").st_mode & kPermissions, 0640U);
}

TEST_P(NewFileOf, LinksStayLinks) {
    folder_.Write("file", "former");
    std::filesystem::create_directory(folder_ / "sub");
    std::filesystem::create_symlink("../file", folder_ / "sub/link");
    std::filesystem::create_symlink("sub/link", folder_ / "link");
    Run([this] { WriteWhole(folder_ / "link", "new"); });
    EXPECT_EQ(ReadFile(folder_ / "file"), "new");
    EXPECT_TRUE(std::filesystem::is_symlink(folder_ / "link"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder_ / "sub/link"));
}

TEST_P(NewFileOf, LinkToNothingMakesWhatItPointsTo) {
    std::filesystem::create_symlink("file", folder_ / "link");
    Run([this] { WriteWhole(folder_ / "link", "new"); });
    EXPECT_EQ(std::filesystem::read_symlink(folder_ / "link"), "file");
    EXPECT_EQ(ReadFile(folder_ / "file"), "new");
}

TEST_P(NewFileOf, NameMayHoldAnyBytes) {
    for (const char* name : {"\xE5\x86\x99\xE7\x9C\x9F.ply", " two  blanks ", "a#b%20?.ply",
                             "\xFF\xFE broken \xC3", "line\nfeed"}) {
        Run([&] { WriteWhole(folder_ / name, "content"); });
        EXPECT_EQ(ReadFile(folder_ / name), "content") << name;
    }
}

TEST_P(NewFileOf, NameMayBeAsLongAsNamesCanBe) {
    const std::string name(255, 'x');
    for (const char* content : {"first", "second"}) {
        Run([&] { WriteWhole(folder_ / name, content); });
        EXPECT_EQ(ReadFile(folder_ / name), content);
    }
}

TEST_P(NewFileOf, NameWithoutAFolderLiesInTheCurrentOne) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder_.Path());
    Run([] { WriteWhole("file", "content"); });
    std::filesystem::current_path(before);
    EXPECT_EQ(ReadFile(folder_ / "file"), "content");
}

TEST_P(NewFileOf, AnotherWriterFillsIt) {
    for (const char* content : {"a first one", "another"}) {
        Run([&] {
            NewFile file(folder_ / "file");
            const std::string name = "/proc/self/fd/" + std::to_string(file.Descriptor());
            std::ofstream(name) << content;
            file.Commit();
        });
        EXPECT_EQ(ReadFile(folder_ / "file"), content);
    }
    EXPECT_EQ(Entries(), 1);
}

TEST_P(NewFileOf, AllBytesAtOnceAreAFile) {
    const std::string content = Megabyte();
    Run([&] { EXPECT_TRUE(WriteNewFile(folder_ / "file", std::as_bytes(std::span(content)))); });
    EXPECT_TRUE(ReadFile(folder_ / "file") == content);
}

}  // namespace
}  // namespace vistrel
