// SPDX-License-Identifier: GPL-3.0-or-later
// What failures of a new file are told as, and what they leave on the disk.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <thread>

#include "base/new_file.h"
#include "tests/base/new_file_fixture.h"
#include "tests/support/another_process.h"

namespace vistrel {
namespace {

using test::ErrorOf;
using test::Megabyte;
using test::ReadFile;
using test::WriteWhole;

constexpr std::filesystem::perms kEverybody{0777};
constexpr std::filesystem::perms kReadOnly{0555};

int OpeningError(const std::filesystem::path& path) {
    return ErrorOf([&] { const NewFile file(path); });
}

class UnopenedNewFile : public test::NewFileTest {};

TEST_F(UnopenedNewFile, MissingFolder) {
    EXPECT_EQ(OpeningError(folder_ / "missing/file"), ENOENT);
    EXPECT_EQ(Entries(), 0);
}

TEST_F(UnopenedNewFile, FolderInPlaceOfTheFile) {
    EXPECT_EQ(OpeningError(folder_.Path()), EISDIR);
    EXPECT_EQ(OpeningError(folder_.Path() / ""), EISDIR);
    EXPECT_EQ(Entries(), 0);
}

TEST_F(UnopenedNewFile, FileInPlaceOfTheFolder) {
    const auto file = folder_.Write("file", "kept");
    EXPECT_EQ(OpeningError(file / "scene.ply"), ENOTDIR);
    EXPECT_EQ(ReadFile(file), "kept");
}

TEST_F(UnopenedNewFile, NameOfAFolderThatIsMissing) {
    EXPECT_EQ(OpeningError(folder_.Path() / "missing" / ""), EISDIR);
}

TEST_F(UnopenedNewFile, NameThatIsTooLong) {
    EXPECT_EQ(OpeningError(folder_ / std::string(256, 'x')), ENAMETOOLONG);
}

TEST_F(UnopenedNewFile, EmptyName) {
    EXPECT_EQ(OpeningError(""), ENOENT);
}

TEST_F(UnopenedNewFile, LinksInARing) {
    std::filesystem::create_symlink("b", folder_ / "a");
    std::filesystem::create_symlink("a", folder_ / "b");
    EXPECT_EQ(OpeningError(folder_ / "a"), ELOOP);
    EXPECT_EQ(Entries(), 2);
}

// Nobody may write to a running program, not even the superuser.
TEST_F(UnopenedNewFile, RunningProgram) {
    EXPECT_EQ(OpeningError("/proc/self/exe"), ETXTBSY);
}

TEST_F(UnopenedNewFile, FileThatMayNotBeWritten) {
    const auto path = folder_.Write("file", "former");
    std::filesystem::permissions(folder_.Path(), kEverybody);
    std::filesystem::permissions(path, std::filesystem::perms{0444});
    EXPECT_TRUE(test::RunAsNobody([&] { return OpeningError(path) == EACCES; }));
    EXPECT_EQ(ReadFile(path), "former");
    EXPECT_EQ(Entries(), 1);
}

TEST_F(UnopenedNewFile, FolderThatTakesNoNewFile) {
    std::filesystem::permissions(folder_.Path(), kReadOnly);
    EXPECT_TRUE(test::RunAsNobody([&] { return OpeningError(folder_ / "file") == EACCES; }));
    EXPECT_EQ(Entries(), 0);
}

class FileWrittenInPlace : public test::NewFileTest {
  protected:
    FileWrittenInPlace() {
        std::filesystem::permissions(path_, std::filesystem::perms{0666});
        std::filesystem::permissions(folder_.Path(), kReadOnly);
    }

    const std::filesystem::path path_ = folder_.Write("file", "something longer");
};

TEST_F(FileWrittenInPlace, TakesNewBytes) {
    EXPECT_TRUE(
        test::RunAsNobody([&] { return WriteNewFile(path_, std::as_bytes(std::span("new", 3))); }));
    EXPECT_EQ(ReadFile(path_), "new");
}

TEST_F(FileWrittenInPlace, TakesNoBytesAtAll) {
    EXPECT_TRUE(test::RunAsNobody([&] { return WriteNewFile(path_, {}, Durability::kOnDisk); }));
    EXPECT_EQ(ReadFile(path_), "");
}

TEST_F(FileWrittenInPlace, IsWholeWithoutCommit) {
    EXPECT_TRUE(test::RunAsNobody([&] {
        NewFile(path_).Append("new");
        return true;
    }));
    EXPECT_EQ(ReadFile(path_), "something longer");
}

// The disk takes so many bytes of a file and no more.
class SmallDisk {
  public:
    explicit SmallDisk(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit small = {bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
    }
    ~SmallDisk() { setrlimit(RLIMIT_FSIZE, &before_); }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

  private:
    rlimit before_{};
};

// A new file over a former one and one where there was none.
class FailedNewFile : public test::OnBothFileSystems {
  protected:
    void ExpectFailure(int error, const std::vector<test::RefusedCall>& refused = {},
                       Durability durability = Durability::kUsual) {
        for (const char* name : {"former", "new"}) {
            int found = 0;
            Run(
                [&] {
                    found =
                        ErrorOf([&] { WriteWhole(folder_ / name, Megabyte(), {durability, {}}); });
                },
                refused);
            EXPECT_EQ(found, error) << name;
        }
        EXPECT_EQ(ReadFile(folder_ / "former"), "former");
        EXPECT_EQ(Entries(), 1);
    }

    const std::filesystem::path former_ = folder_.Write("former", "former");
};
INSTANTIATE_TEST_SUITE_P(Files, FailedNewFile, test::kBothFileSystems, test::NameOf);

TEST_P(FailedNewFile, DiskThatIsFullFromTheStart) {
    ExpectFailure(ENOSPC, {{SYS_openat, ENOSPC, 2, O_CREAT}, {SYS_openat, ENOSPC, 2, O_TMPFILE}});
}

TEST_P(FailedNewFile, DiskThatIsFullAfterAWhile) {
    const SmallDisk disk(300'000);
    ExpectFailure(EFBIG);
}

TEST_P(FailedNewFile, PermissionsThatCannotBeKept) {
    Run([this] { EXPECT_EQ(OpeningError(former_), EIO); }, {{SYS_fchmod, EIO}});
    EXPECT_EQ(ReadFile(former_), "former");
    EXPECT_EQ(Entries(), 1);
}

TEST_P(FailedNewFile, BytesThatDoNotGetToTheDisk) {
    ExpectFailure(EIO, {{SYS_fsync, EIO}}, Durability::kOnDisk);
}

TEST_P(FailedNewFile, LossThatIsToldInClosing) {
    ExpectFailure(EDQUOT, {{SYS_close, EDQUOT}});
}

TEST_P(FailedNewFile, PlaceThatCannotBeTaken) {
    ExpectFailure(EIO, {{SYS_rename, EIO}, {SYS_linkat, EIO}});
}

TEST_P(FailedNewFile, FormerPlaceThatCannotBeTaken) {
    Run([this] { EXPECT_EQ(ErrorOf([this] { WriteWhole(former_, "new"); }), EBUSY); },
        {{SYS_rename, EBUSY}});
    EXPECT_EQ(ReadFile(former_), "former");
    EXPECT_EQ(Entries(), 1);
}

TEST_P(FailedNewFile, FolderThatAppearsInItsPlace) {
    Run([this] {
        NewFile file(folder_ / "new");
        std::filesystem::create_directory(folder_ / "new");
        EXPECT_EQ(ErrorOf([&] { file.Commit(); }), EISDIR);
    });
    EXPECT_EQ(Entries(), 2);
}

TEST_P(FailedNewFile, CannotBeCommittedAfterAll) {
    Run([this] {
        NewFile file(folder_ / "new");
        {
            const SmallDisk disk(10);
            EXPECT_EQ(ErrorOf([&] { file.Append(Megabyte()); }), EFBIG);
        }
        EXPECT_NE(ErrorOf([&] { file.Commit(); }), 0);
    });
    EXPECT_EQ(Entries(), 1);
}

TEST_P(FailedNewFile, DiskThatIsFullWhereSomethingWasLeftOut) {
    Run([this] {
        NewFile file(former_);
        const auto place = file.LeaveOut(Megabyte().size());
        ASSERT_TRUE(place);
        const SmallDisk disk(300'000);
        const std::string bytes = Megabyte();
        EXPECT_EQ(ErrorOf([&] { file.WriteAt(*place, std::as_bytes(std::span(bytes))); }), EFBIG);
    });
    EXPECT_EQ(ReadFile(former_), "former");
    EXPECT_EQ(Entries(), 1);
}

TEST_P(FailedNewFile, FolderThatCannotBeSyncedIsNoFailure) {
    Run([this] { WriteWhole(former_, "new", {.durability = Durability::kOnDisk}); },
        {{SYS_openat, EACCES, 2, O_DIRECTORY}});
    EXPECT_EQ(ReadFile(former_), "new");
}

class FailedDevice : public test::NewFileTest {};

TEST_F(FailedDevice, ThatIsFull) {
    EXPECT_EQ(ErrorOf([] { WriteWhole("/dev/full", "content"); }), ENOSPC);
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
}

TEST_F(FailedDevice, PipeWhoseReaderLeft) {
    sigset_t before;
    pthread_sigmask(SIG_BLOCK, nullptr, &before);
    const std::filesystem::path path = MakePipe();
    const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    {
        NewFile file(path);
        close(reader);
        file.Append("lost");
        EXPECT_EQ(ErrorOf([&] { file.Commit(); }), EPIPE);
    }
    sigset_t pending;
    sigpending(&pending);
    sigset_t after;
    pthread_sigmask(SIG_BLOCK, nullptr, &after);
    EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
    EXPECT_EQ(sigismember(&after, SIGPIPE), sigismember(&before, SIGPIPE));
    EXPECT_EQ(sigismember(&after, SIGXFSZ), sigismember(&before, SIGXFSZ));
    EXPECT_TRUE(std::filesystem::is_fifo(path));
}

class EndOfTheProcess : public test::OnBothFileSystems {
  protected:
    // Whether `work`, which ends its process, ended it well.
    static bool RunInAnother(const std::function<void()>& work) {
        return test::Join(test::Fork(
            [&work] {
                Run(work);
                return false;
            },
            false));
    }
};
INSTANTIATE_TEST_SUITE_P(Files, EndOfTheProcess, test::kBothFileSystems, test::NameOf);

TEST_P(EndOfTheProcess, LeavesNothingUnfinished) {
    EXPECT_TRUE(RunInAnother([this] {
        NewFile file(folder_ / "file");
        file.Append(Megabyte());
        DiscardUnfinishedFiles();
        _exit(EXIT_SUCCESS);
    }));
    EXPECT_EQ(Entries(), 0);
}

TEST_P(EndOfTheProcess, LetsNoFileAppearAnyMore) {
    EXPECT_TRUE(RunInAnother([this] {
        std::atomic<int> made = 0;
        std::thread writer([&] {
            for (;;) WriteWhole(folder_ / std::to_string(made++), "content");
        });
        while (made < 10) std::this_thread::yield();
        DiscardUnfinishedFiles();
        const long left = Entries();
        constexpr int kLooks = 1000;
        for (int i = 0; i < kLooks && Entries() == left; ++i) std::this_thread::yield();
        _exit(Entries() == left ? EXIT_SUCCESS : EXIT_FAILURE);
    }));
    for (const auto& entry : std::filesystem::directory_iterator(folder_.Path())) {
        EXPECT_EQ(ReadFile(entry.path()), "content") << entry.path();
    }
}

}  // namespace
}  // namespace vistrel
