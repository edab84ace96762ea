#include "engine/output_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>

#include "base/text_encoding.h"
#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

// A megabyte in which no two neighbouring pages are the same.
std::string Content() {
    std::string content(1'000'003, '\0');
    for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * 31 / 7);
    return content;
}

void WriteInPieces(OutputFile& file, std::string_view content, std::size_t piece) {
    for (; !content.empty(); content.remove_prefix(std::min(piece, content.size()))) {
        file.Append(content.substr(0, piece));
    }
}

void WriteWhole(const std::filesystem::path& path, std::string_view content) {
    OutputFile file(FromPath(path));
    WriteInPieces(file, content, 50'000);
}

void ExpectCannotOpen(const std::filesystem::path& path) {
    try {
        const OutputFile file(FromPath(path));
        FAIL() << path << " was opened";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "Cannot open output file");
    }
}

// What can be read from a pipe until its writers are gone.
std::string ReadAll(int pipe) {
    std::string all;
    std::array<char, 1000> piece{};
    for (ssize_t got = 0; (got = read(pipe, piece.data(), piece.size())) > 0;) {
        all.append(piece.data(), static_cast<std::size_t>(got));
    }
    return all;
}

class OutputFileTest : public testing::Test {
  protected:
    test::TemporaryFolder folder_;

    std::filesystem::path MakePipe() {
        const std::filesystem::path path = folder_ / "pipe";
        EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
        return path;
    }
};

TEST_F(OutputFileTest, PiecesFollowEachOther) {
    const std::string content = Content();
    for (const std::size_t piece : {std::size_t{7}, std::size_t{4096}, OutputFile::kLargestPiece}) {
        {
            OutputFile file(FromPath(folder_ / "file"));
            WriteInPieces(file, content, piece);
        }
        EXPECT_TRUE(test::ReadFile(folder_ / "file") == content) << piece;
    }
}

TEST_F(OutputFileTest, RoomIsFilledLater) {
    {
        OutputFile file(FromPath(folder_ / "file"));
        file.Append("ab");
        std::ranges::fill(file.Next(3), std::byte{'c'});
        file.Append("d");
    }
    EXPECT_EQ(test::ReadFile(folder_ / "file"), "abcccd");
}

TEST_F(OutputFileTest, OldContentIsGone) {
    const std::filesystem::path path = folder_.Write("file", "something longer");
    WriteWhole(path, "new");
    EXPECT_EQ(test::ReadFile(path), "new");
}

TEST_F(OutputFileTest, NothingWrittenGivesAnEmptyFile) {
    WriteWhole(folder_ / "file", "");
    EXPECT_EQ(test::ReadFile(folder_ / "file"), "");
}

TEST_F(OutputFileTest, NameMayHoldAnyBytes) {
    for (const char* name : {"\xE5\x86\x99\xE7\x9C\x9F.ply", " two  blanks ", "a#b%20?.ply",
                             "\xFF\xFE broken \xC3", "line\nfeed"}) {
        WriteWhole(folder_ / name, "content");
        EXPECT_EQ(test::ReadFile(folder_ / name), "content") << name;
    }
}

TEST_F(OutputFileTest, MissingFolderCannotBeOpened) {
    ExpectCannotOpen(folder_ / "missing" / "file");
    EXPECT_TRUE(std::filesystem::is_empty(folder_.Path()));
}

TEST_F(OutputFileTest, FolderCannotBeOpened) {
    ExpectCannotOpen(folder_.Path());
    EXPECT_TRUE(std::filesystem::is_empty(folder_.Path()));
}

TEST_F(OutputFileTest, FileInPlaceOfTheFolderCannotBeOpened) {
    const std::filesystem::path file = folder_.Write("file", "kept");
    ExpectCannotOpen(file / "scene.ply");
    EXPECT_EQ(test::ReadFile(file), "kept");
}

TEST_F(OutputFileTest, TooLongNameCannotBeOpened) {
    ExpectCannotOpen(folder_ / std::string(300, 'x'));
}

TEST_F(OutputFileTest, EmptyPathCannotBeOpened) {
    ExpectCannotOpen("");
}

// Nobody may write to a running program, not even the superuser.
TEST_F(OutputFileTest, UnwritableFileCannotBeOpened) {
    ExpectCannotOpen("/proc/self/exe");
}

TEST_F(OutputFileTest, FullDiskIsNotReported) {
    OutputFile file(L"/dev/full");
    WriteInPieces(file, Content(), 50'000);
}

TEST_F(OutputFileTest, NullDeviceTakesEverything) {
    OutputFile file(L"/dev/null");
    WriteInPieces(file, Content(), 50'000);
}

TEST_F(OutputFileTest, SizeLimitLeavesAShortFile) {
    const std::string content = Content();
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit limited = {300'000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limited);
    WriteWhole(folder_ / "file", content);
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_TRUE(test::ReadFile(folder_ / "file") == content.substr(0, 300'000));
}

TEST_F(OutputFileTest, ReaderThatLeavesIsNotReported) {
    const std::filesystem::path path = MakePipe();
    const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    OutputFile file(FromPath(path));
    close(reader);
    WriteInPieces(file, Content(), 50'000);
}

TEST_F(OutputFileTest, SignalsOfAFailureAreTakenBack) {
    sigset_t before;
    pthread_sigmask(SIG_BLOCK, nullptr, &before);
    {
        const std::filesystem::path path = MakePipe();
        const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        OutputFile file(FromPath(path));
        close(reader);
        file.Append("lost");
    }
    sigset_t pending;
    sigpending(&pending);
    sigset_t after;
    pthread_sigmask(SIG_BLOCK, nullptr, &after);
    EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
    EXPECT_EQ(sigismember(&after, SIGPIPE), sigismember(&before, SIGPIPE));
    EXPECT_EQ(sigismember(&after, SIGXFSZ), sigismember(&before, SIGXFSZ));
}

TEST_F(OutputFileTest, PipeGetsEverything) {
    const std::filesystem::path path = MakePipe();
    std::string received;
    std::thread reader([&] {
        const int pipe = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        received = ReadAll(pipe);
        close(pipe);
    });
    WriteWhole(path, Content());
    reader.join();
    EXPECT_TRUE(received == Content());
}

// Opening waits for the reader and writing for room in the pipe; signals break into both.
TEST_F(OutputFileTest, InterruptedCallsAreRepeated) {
    const std::filesystem::path path = MakePipe();
    struct sigaction action {};
    struct sigaction before {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, &before);
    const pthread_t writer = pthread_self();
    std::string received;
    std::thread reader([&] {
        for (int i = 0; i < 1000; ++i) pthread_kill(writer, SIGUSR1);
        const int pipe = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        std::array<char, 1000> piece{};
        for (ssize_t got = 0; (got = read(pipe, piece.data(), piece.size())) > 0;) {
            received.append(piece.data(), static_cast<std::size_t>(got));
            if (received.size() < 900'000) pthread_kill(writer, SIGUSR1);
        }
        close(pipe);
    });
    WriteWhole(path, Content());
    reader.join();
    sigaction(SIGUSR1, &before, nullptr);
    EXPECT_TRUE(received == Content());
}

}  // namespace
}  // namespace vistrel
