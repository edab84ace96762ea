// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>

namespace vistrel {

InputFile::InputFile(const std::filesystem::path& path) {
    do {  // a pipe without a writer would never open
        descriptor_ = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    } while (descriptor_ < 0 && errno == EINTR);
    if (descriptor_ < 0) throw std::runtime_error("the file cannot be opened");
    struct stat found = {};
    const bool isKnown = fstat(descriptor_, &found) == 0;
    if (!isKnown || !S_ISREG(found.st_mode)) {
        close(descriptor_);
        throw std::runtime_error(isKnown ? "it is not a regular file" : "the file cannot be read");
    }
    size_ = static_cast<std::uint64_t>(found.st_size);
}

InputFile::InputFile(std::span<const std::byte> content)
    : content_(content.data()), size_(content.size()) {}

InputFile::~InputFile() {
    if (descriptor_ >= 0) close(descriptor_);
}

void InputFile::Read(std::uint64_t position, std::span<std::byte> bytes) const {
    if (descriptor_ < 0) {
        if (position > size_ || bytes.size() > size_ - position) {
            throw std::runtime_error("the file cannot be read to its end");
        }
        std::copy_n(content_ + position, bytes.size(), bytes.data());
        return;
    }
    while (!bytes.empty()) {
        const ssize_t got =
            pread(descriptor_, bytes.data(), bytes.size(), static_cast<off_t>(position));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) throw std::runtime_error("the file cannot be read");
        if (got == 0) throw std::runtime_error("the file cannot be read to its end");
        position += static_cast<std::uint64_t>(got);
        bytes = bytes.subspan(static_cast<std::size_t>(got));
    }
}

}  // namespace vistrel
