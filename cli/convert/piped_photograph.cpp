// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/convert/piped_photograph.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <span>
#include <system_error>
#include <vector>

namespace vistrel {
namespace {

constexpr std::size_t kLargest = std::size_t{2} << 30;  // bytes; no photograph is larger
constexpr std::size_t kPiece = std::size_t{64} << 10;   // what a pipe holds

[[noreturn]] void Fail(int error, const std::string& pipe) {
    throw std::system_error(error, std::generic_category(), "cannot read " + pipe);
}

// Each returns 0, or what went wrong.

int WriteAll(std::span<const std::byte> bytes, int to) {
    while (!bytes.empty()) {
        const ssize_t written = write(to, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) return errno;
        if (written > 0) bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return 0;
}

int MoveAll(int from, int to) {
    std::vector<std::byte> piece(kPiece);
    for (std::size_t total = 0; total <= kLargest;) {
        const ssize_t got = read(from, piece.data(), piece.size());
        if (got == 0) return 0;
        if (got < 0 && errno != EINTR) return errno;
        if (got < 0) continue;
        const auto bytes = static_cast<std::size_t>(got);
        if (const int error = WriteAll({piece.data(), bytes}, to)) return error;
        total += bytes;
    }
    return EFBIG;
}

}  // namespace

PipedPhotograph::PipedPhotograph(const std::string& pipe)
    : memory_(memfd_create("photograph", MFD_CLOEXEC)) {
    if (memory_ < 0) Fail(errno, pipe);
    const int from = open(pipe.c_str(), O_RDONLY | O_CLOEXEC);
    const int error = from < 0 ? errno : MoveAll(from, memory_);
    if (from >= 0) close(from);
    if (error == 0) return;
    close(memory_);
    Fail(error, pipe);
}

PipedPhotograph::~PipedPhotograph() {
    close(memory_);
}

std::string PipedPhotograph::Path() const {
    return "/proc/self/fd/" + std::to_string(memory_);
}

}  // namespace vistrel
