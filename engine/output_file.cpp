#include "engine/output_file.h"

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <span>
#include <stdexcept>

#include "base/text_encoding.h"

namespace vistrel {
namespace {

int OpenForWriting(const std::wstring& path) {
    const std::string name = ToPath(path).native();
    int file = -1;
    do {
        file = open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    } while (file < 0 && errno == EINTR);
    if (file < 0) throw std::runtime_error("Cannot open output file");
    return file;
}

// While it lives, a write past a size limit or to a pipe without reader only fails; without it the
// default is to end the process. Both signals are sent to the writing thread alone.
class WriteSignalsHeldBack {
  public:
    WriteSignalsHeldBack() {
        sigemptyset(&signals_);
        sigaddset(&signals_, SIGPIPE);
        sigaddset(&signals_, SIGXFSZ);
        sigset_t pending;
        sigpending(&pending);
        wasPending_ = sigismember(&pending, SIGPIPE) == 1 || sigismember(&pending, SIGXFSZ) == 1;
        pthread_sigmask(SIG_BLOCK, &signals_, &before_);
    }

    ~WriteSignalsHeldBack() {
        if (!wasPending_) TakePending();
        pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }

    WriteSignalsHeldBack(const WriteSignalsHeldBack&) = delete;
    WriteSignalsHeldBack& operator=(const WriteSignalsHeldBack&) = delete;

  private:
    void TakePending() const {
        const std::timespec atOnce{};
        int taken = 0;
        do {
            taken = sigtimedwait(&signals_, nullptr, &atOnce);
        } while (taken > 0 || (taken < 0 && errno == EINTR));
    }

    sigset_t signals_{};
    sigset_t before_{};
    bool wasPending_ = false;
};

// False after an error. A write that takes nothing at all counts as one, so that this always ends.
bool WriteAll(int file, std::span<const std::byte> bytes) {
    const WriteSignalsHeldBack heldBack;
    while (!bytes.empty()) {
        const ssize_t written = write(file, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return true;
}

}  // namespace

OutputFile::OutputFile(const std::wstring& path)
    : buffer_(new std::byte[kBufferSize]), file_(OpenForWriting(path)) {}

OutputFile::~OutputFile() {
    Flush();
    close(file_);
}

std::span<std::byte> OutputFile::Next(std::size_t bytes) {
    if (used_ + bytes > kBufferSize) Flush();
    const std::span<std::byte> room(buffer_.get() + used_, bytes);
    used_ += bytes;
    return room;
}

void OutputFile::Append(std::string_view piece) {
    std::ranges::copy(std::as_bytes(std::span(piece)), Next(piece.size()).begin());
}

void OutputFile::Flush() {
    if (!failed_) failed_ = !WriteAll(file_, {buffer_.get(), used_});
    used_ = 0;
}

}  // namespace vistrel
