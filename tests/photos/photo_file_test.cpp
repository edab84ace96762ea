// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/photo_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <fstream>
#include <functional>
#include <string>
#include <thread>

#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

std::string Text(const std::vector<std::byte>& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// More than a pipe holds, and no two parts are alike.
std::string Sample() {
    std::string bytes(300'000, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * i / 7);
    return bytes;
}

void ExpectRefused(const std::function<std::vector<std::byte>()>& read, const std::string& why) {
    try {
        static_cast<void>(read());
        ADD_FAILURE() << "was read, not refused with: " << why;
    } catch (const PhotoError& error) {
        EXPECT_EQ(error.what(), why);
    }
}

class PhotoFile : public testing::Test {
  protected:
    void ExpectPathRefused(const std::filesystem::path& path, const std::string& why) {
        ExpectRefused([&] { return ReadPhotoFile(path); }, why);
    }

    const test::TemporaryFolder folder;
};

TEST_F(PhotoFile, BytesComeBack) {
    EXPECT_EQ(Text(ReadPhotoFile(folder.Write("f", Sample()))), Sample());
}

TEST_F(PhotoFile, MissingFileIsToldByTheSystem) {
    ExpectPathRefused(folder / "none", "It cannot be read: No such file or directory.");
}

TEST_F(PhotoFile, FolderIsToldByTheSystem) {
    ExpectPathRefused(folder.Path(), "It cannot be read: Is a directory.");
}

TEST_F(PhotoFile, EmptyFileIsRefused) {
    ExpectPathRefused(folder.Write("f", ""), "It is empty.");
    ExpectPathRefused("/dev/null", "It is empty.");
}

TEST_F(PhotoFile, LargestOneIsRead) {
    EXPECT_EQ(Text(ReadPhotoFile(folder.Write("f", "12345"), 5)), "12345");
}

TEST_F(PhotoFile, LargerOneIsRefused) {
    const auto path = folder.Write("f", std::string((2 << 20) + 1, 'x'));
    ExpectRefused([&] { return ReadPhotoFile(path, 2 << 20); }, "It is larger than 2 MiB.");
}

TEST_F(PhotoFile, SparseGiantIsRefusedBeforeItIsRead) {
    const auto path = folder.Write("f", "x");
    std::filesystem::resize_file(path, std::uint64_t{1} << 40);
    ExpectPathRefused(path, "It is larger than 2048 MiB.");
}

TEST_F(PhotoFile, EndlessDeviceIsRefused) {
    ExpectRefused([] { return ReadPhotoFile("/dev/zero", 1 << 20); }, "It is larger than 1 MiB.");
}

TEST_F(PhotoFile, FileWithMoreBytesThanItsSizeIsRefused) {
    ExpectPathRefused("/proc/self/status", "It changed while it was read.");
}

TEST_F(PhotoFile, FileThatIsWrittenMeanwhileIsRefused) {
    const auto path = folder.Write("f", std::string(1 << 20, 'x'));
    std::atomic<bool> done = false;
    std::thread writer([&] {
        const int file = open(path.c_str(), O_WRONLY | O_CLOEXEC);
        while (!done) EXPECT_EQ(pwrite(file, "y", 1, 0), 1);
        close(file);
    });
    std::string refused;
    while (refused.empty()) {  // until a change falls into the reading
        try {
            static_cast<void>(ReadPhotoFile(path));
        } catch (const PhotoError& error) {
            refused = error.what();
        }
    }
    done = true;
    writer.join();
    EXPECT_EQ(refused, "It changed while it was read.");
}

class PhotoDescriptor : public PhotoFile {
  protected:
    // What arrives at one end when `text` is written in pieces of `piece` at the other.
    static std::string Through(std::array<int, 2> ends, const std::string& text,
                               std::size_t piece) {
        std::thread writer([&] {
            for (std::size_t i = 0; i < text.size();) {
                const auto most = std::min(piece, text.size() - i);
                const ssize_t written = write(ends[1], text.data() + i, most);
                if (written < 0) break;
                i += static_cast<std::size_t>(written);
            }
            close(ends[1]);
        });
        const std::string arrived = Text(ReadPhotoDescriptor(ends[0]));
        writer.join();
        close(ends[0]);
        return arrived;
    }
};

TEST_F(PhotoDescriptor, PipeIsReadToItsEnd) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    EXPECT_EQ(Through(ends, Sample(), 999), Sample());
}

TEST_F(PhotoDescriptor, PipeThatIsSetNotToWaitIsWaitedFor) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    ASSERT_EQ(fcntl(ends[0], F_SETFL, O_NONBLOCK), 0);
    EXPECT_EQ(Through(ends, Sample(), 50'000), Sample());
}

TEST_F(PhotoDescriptor, SocketIsReadToItsEnd) {
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
    EXPECT_EQ(Through(ends, Sample(), 70'000), Sample());
}

TEST_F(PhotoDescriptor, NamedPipeWaitsForItsWriter) {
    const auto path = folder / "pipe";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    std::thread writer([&] { std::ofstream(path, std::ios::binary) << Sample(); });
    EXPECT_EQ(Text(ReadPhotoFile(path)), Sample());
    writer.join();
}

TEST_F(PhotoDescriptor, EmptyPipeIsRefused) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    close(ends[1]);
    ExpectRefused([&] { return ReadPhotoDescriptor(ends[0]); }, "It is empty.");
    close(ends[0]);
}

TEST_F(PhotoDescriptor, FileIsReadFromWhereItStands) {
    const int file = open(folder.Write("f", "12345").c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(lseek(file, 2, SEEK_SET), 2);
    EXPECT_EQ(Text(ReadPhotoDescriptor(file)), "345");
    EXPECT_EQ(lseek(file, 0, SEEK_CUR), 5);  // is still open
    close(file);
}

TEST_F(PhotoDescriptor, TerminalIsRefused) {
    const int master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_GE(master, 0);
    ASSERT_EQ(unlockpt(master), 0);
    const int terminal = open(ptsname(master), O_RDONLY | O_NOCTTY | O_CLOEXEC);
    ExpectRefused([&] { return ReadPhotoDescriptor(terminal); },
                  "It is a terminal, where no photograph comes from.");
    close(terminal);
    close(master);
}

TEST_F(PhotoDescriptor, ClosedOneIsToldByTheSystem) {
    ExpectRefused([] { return ReadPhotoDescriptor(-1); },
                  "It cannot be read: Bad file descriptor.");
}

}  // namespace
}  // namespace vistrel
