// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/photo_file.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <string>
#include <system_error>

namespace vistrel {
namespace {

constexpr std::size_t kFirstPiece = std::size_t{64} << 10;  // what a pipe holds

class OpenFile {
  public:
    explicit OpenFile(const std::filesystem::path& path) {
        do {
            descriptor_ = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
        } while (descriptor_ < 0 && errno == EINTR);
    }
    ~OpenFile() {
        if (descriptor_ >= 0) close(descriptor_);
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    [[nodiscard]] int Descriptor() const { return descriptor_; }

  private:
    int descriptor_ = -1;
};

[[noreturn]] void FailToRead(int error) {
    throw PhotoError("It cannot be read: " + std::generic_category().message(error) + ".");
}

[[noreturn]] void FailAsTooLarge(std::uint64_t largest) {
    constexpr std::uint64_t kMebibyte = std::uint64_t{1} << 20;
    throw PhotoError("It is larger than " + std::to_string(largest / kMebibyte) + " MiB.");
}

struct stat StatusOf(int descriptor) {
    struct stat status{};
    if (fstat(descriptor, &status) != 0) FailToRead(errno);
    return status;
}

// 0 at the end. Waits also where the descriptor is set not to.
std::size_t ReadSome(int descriptor, std::byte* to, std::size_t most) {
    for (;;) {
        const ssize_t got = read(descriptor, to, most);
        if (got >= 0) return static_cast<std::size_t>(got);
        if (errno == EAGAIN) {
            pollfd source{descriptor, POLLIN, 0};
            if (poll(&source, 1, -1) < 0 && errno != EINTR) FailToRead(errno);
        } else if (errno != EINTR) {
            FailToRead(errno);
        }
    }
}

// To the end, or one byte more than `largest`. `expected` is where it probably ends.
std::vector<std::byte> ReadToEnd(int descriptor, std::uint64_t expected,
                                 std::uint64_t largest) try {
    const auto room = static_cast<std::size_t>(largest + 1);
    // The byte more than expected finds the end without growing.
    std::vector<std::byte> bytes(std::min(static_cast<std::size_t>(expected) + 1, room));
    std::size_t size = 0;
    while (size < room) {
        if (size == bytes.size()) bytes.resize(std::min(2 * size, room));
        const std::size_t got = ReadSome(descriptor, bytes.data() + size, bytes.size() - size);
        if (got == 0) break;
        size += got;
    }
    bytes.resize(size);
    return bytes;
} catch (const std::bad_alloc&) {
    throw PhotoError("There is not enough memory to read it.");
}

bool HasChanged(const struct stat& before, const struct stat& after) {
    return before.st_size != after.st_size || before.st_mtim.tv_sec != after.st_mtim.tv_sec ||
           before.st_mtim.tv_nsec != after.st_mtim.tv_nsec;
}

// Of a regular file, from where the descriptor stands.
std::uint64_t BytesLeft(int descriptor, const struct stat& status) {
    const off_t position = lseek(descriptor, 0, SEEK_CUR);
    if (position < 0) FailToRead(errno);
    return static_cast<std::uint64_t>(std::max<off_t>(status.st_size - position, 0));
}

}  // namespace

std::vector<std::byte> ReadPhotoFile(const std::filesystem::path& path, std::uint64_t largest) {
    const OpenFile file(path);
    if (file.Descriptor() < 0) FailToRead(errno);
    return ReadPhotoDescriptor(file.Descriptor(), largest);
}

std::vector<std::byte> ReadPhotoDescriptor(int descriptor, std::uint64_t largest) {
    const struct stat before = StatusOf(descriptor);
    if (S_ISCHR(before.st_mode) && isatty(descriptor) == 1) {
        throw PhotoError("It is a terminal, where no photograph comes from.");
    }
    const bool regular = S_ISREG(before.st_mode);
    const std::uint64_t expected = regular ? BytesLeft(descriptor, before) : kFirstPiece;
    if (regular && expected > largest) FailAsTooLarge(largest);

    std::vector<std::byte> bytes = ReadToEnd(descriptor, expected, largest);
    if (regular && (bytes.size() != expected || HasChanged(before, StatusOf(descriptor)))) {
        throw PhotoError("It changed while it was read.");
    }
    if (bytes.size() > largest) FailAsTooLarge(largest);
    if (bytes.empty()) throw PhotoError("It is empty.");
    return bytes;
}

}  // namespace vistrel
