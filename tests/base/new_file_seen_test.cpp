// SPDX-License-Identifier: GPL-3.0-or-later
// New files that do not grow unseen: pipes and devices, and what shows itself to others.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>

#include "base/new_file.h"
#include "tests/base/new_file_fixture.h"
#include "tests/support/another_process.h"

namespace vistrel {
namespace {

using test::Megabyte;
using test::ReadFile;
using test::WriteWhole;

class WrittenDirectly : public test::NewFileTest {};

TEST_F(WrittenDirectly, NullDeviceTakesEverything) {
    WriteWhole("/dev/null", Megabyte(), {.durability = Durability::kOnDisk});
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST_F(WrittenDirectly, DeviceTakesItsBytesInOrderOnly) {
    EXPECT_FALSE(NewFile("/dev/null").LeaveOut(10));
}

// What can be read from a pipe until its writers are gone.
std::string ReadAll(int pipe, const std::function<void(std::size_t)>& onPiece) {
    std::string all;
    std::array<char, 1000> piece{};
    for (ssize_t got = 0; (got = read(pipe, piece.data(), piece.size())) > 0;) {
        all.append(piece.data(), static_cast<std::size_t>(got));
        onPiece(all.size());
    }
    return all;
}

TEST_F(WrittenDirectly, PipeGetsEverything) {
    const std::filesystem::path path = MakePipe();
    std::string received;
    std::thread reader([&] {
        const int pipe = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        received = ReadAll(pipe, [](std::size_t) {});
        close(pipe);
    });
    WriteWhole(path, Megabyte(), {.durability = Durability::kOnDisk});
    reader.join();
    EXPECT_TRUE(received == Megabyte());
    EXPECT_TRUE(std::filesystem::is_fifo(path));
}

// Opening waits for the reader and writing for room in the pipe; signals break into both.
TEST_F(WrittenDirectly, InterruptedCallsAreRepeated) {
    const std::filesystem::path path = MakePipe();
    struct sigaction action{};
    struct sigaction before{};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, &before);
    const pthread_t writer = pthread_self();
    std::string received;
    std::thread reader([&] {
        for (int i = 0; i < 1000; ++i) pthread_kill(writer, SIGUSR1);
        const int pipe = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        received = ReadAll(pipe, [writer](std::size_t bytes) {
            if (bytes < 900'000) pthread_kill(writer, SIGUSR1);
        });
        close(pipe);
    });
    WriteWhole(path, Megabyte());
    reader.join();
    sigaction(SIGUSR1, &before, nullptr);
    EXPECT_TRUE(received == Megabyte());
}

TEST_F(WrittenDirectly, OpenFileThatHasNoNameAnyMore) {
    const auto path = folder_.Write("file", "something longer");
    const int file = open(path.c_str(), O_RDWR | O_CLOEXEC);
    std::filesystem::remove(path);
    WriteWhole("/proc/self/fd/" + std::to_string(file), "new");
    std::array<char, 100> bytes{};
    EXPECT_EQ(pread(file, bytes.data(), bytes.size(), 0), 3);
    close(file);
    EXPECT_STREQ(bytes.data(), "new");
    EXPECT_EQ(Entries(), 0);
}

class GrowingUnderAName : public test::NewFileTest {
  protected:
    const NewFileOptions options_ = {.growsAs = folder_ / "growing"};
};

TEST_F(GrowingUnderAName, IsSeenByOthers) {
    folder_.Write("growing", "longer, and left by somebody");
    NewFile file(folder_ / "file", options_);
    file.Append("new");
    file.Finish();
    EXPECT_EQ(ReadFile(folder_ / "growing"), "new");
    file.Commit();
    EXPECT_EQ(ReadFile(folder_ / "file"), "new");
    EXPECT_EQ(Entries(), 1);
}

TEST_F(GrowingUnderAName, BelongsToOneWriter) {
    NewFile file(folder_ / "file", options_);
    file.Append("new");
    file.Finish();
    EXPECT_EQ(test::ErrorOf([&] { NewFile(folder_ / "another", options_); }), EWOULDBLOCK);
    EXPECT_EQ(ReadFile(folder_ / "growing"), "new");
    file.Commit();
    EXPECT_EQ(ReadFile(folder_ / "file"), "new");
}

TEST_F(GrowingUnderAName, IsFreeAgainOnceItsWriterWasKilled) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    const pid_t writer = test::Fork(
        [&]() -> bool {
            NewFile file(folder_ / "file", options_);
            file.Append(Megabyte());
            EXPECT_EQ(write(ends[1], "x", 1), 1);
            for (;;) pause();
        },
        false);
    char begun = 0;
    ASSERT_EQ(read(ends[0], &begun, 1), 1);
    EXPECT_EQ(test::ErrorOf([&] { NewFile(folder_ / "file", options_); }), EWOULDBLOCK);
    kill(writer, SIGKILL);
    waitpid(writer, nullptr, 0);
    close(ends[0]);
    close(ends[1]);
    WriteWhole(folder_ / "file", "new", options_);
    EXPECT_EQ(ReadFile(folder_ / "file"), "new");
    EXPECT_EQ(Entries(), 1);
}

TEST_F(GrowingUnderAName, IsFreeAgainAfterAFailure) {
    std::filesystem::create_symlink("/dev/full", folder_ / "growing");
    EXPECT_EQ(test::ErrorOf([&] { WriteWhole(folder_ / "file", "new", options_); }), ENOSPC);
    WriteWhole(folder_ / "file", "new", options_);
    EXPECT_EQ(ReadFile(folder_ / "file"), "new");
}

TEST_F(GrowingUnderAName, NeedsNoLocksOfTheFileSystem) {
    test::WithRefusedCalls({{SYS_flock, ENOLCK}},
                           [&] { WriteWhole(folder_ / "file", "new", options_); });
    EXPECT_EQ(ReadFile(folder_ / "file"), "new");
}

TEST_F(GrowingUnderAName, ReplacesALink) {
    std::filesystem::create_symlink("/nowhere", folder_ / "file");
    WriteWhole(folder_ / "file", "new", options_);
    EXPECT_TRUE(
        std::filesystem::is_regular_file(std::filesystem::symlink_status(folder_ / "file")));
}

TEST_F(GrowingUnderAName, IsGoneWithoutCommit) {
    {
        const NewFile file(folder_ / "file", options_);
    }
    EXPECT_EQ(Entries(), 0);
}

TEST_F(GrowingUnderAName, IsKeptWhenItCannotTakeItsPlace) {
    std::filesystem::create_directory(folder_ / "file");
    EXPECT_EQ(test::ErrorOf([&] { WriteWhole(folder_ / "file", "new", options_); }), EISDIR);
    EXPECT_EQ(ReadFile(folder_ / "growing"), "new");
}

TEST_F(GrowingUnderAName, ThatCannotBeDiscardedIsTold) {
    NewFile file(folder_ / "file", options_);
    std::filesystem::remove(folder_ / "growing");
    std::filesystem::create_directory(folder_ / "growing");
    EXPECT_THROW(file.Discard(), std::filesystem::filesystem_error);
}

}  // namespace
}  // namespace vistrel
