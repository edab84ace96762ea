// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/whole_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <system_error>

namespace vistrel {
namespace {

class FileToRead {
  public:
    explicit FileToRead(const std::filesystem::path& path) {
        do {  // a pipe without a writer would never open
            descriptor_ = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        } while (descriptor_ < 0 && errno == EINTR);
    }
    ~FileToRead() {
        if (descriptor_ >= 0) close(descriptor_);
    }
    FileToRead(const FileToRead&) = delete;
    FileToRead& operator=(const FileToRead&) = delete;

    [[nodiscard]] int Descriptor() const { return descriptor_; }

  private:
    int descriptor_ = -1;
};

}  // namespace

std::optional<std::string> ReadWholeFile(const std::filesystem::path& path) {
    const FileToRead file(path);
    struct stat found = {};
    if (fstat(file.Descriptor(), &found) != 0 || !S_ISREG(found.st_mode)) return std::nullopt;
    std::string bytes;
    std::array<char, 65536> part;
    for (;;) {
        const ssize_t got = read(file.Descriptor(), part.data(), part.size());
        if (got == 0) return bytes;
        if (got > 0) bytes.append(part.data(), static_cast<std::size_t>(got));
        if (got < 0 && errno != EINTR) return std::nullopt;
    }
}

std::optional<bool> Exists(const std::filesystem::path& path) {
    std::error_code ignored;
    const std::filesystem::file_status status = std::filesystem::status(path, ignored);
    if (!std::filesystem::status_known(status)) return std::nullopt;
    return std::filesystem::exists(status);
}

}  // namespace vistrel
