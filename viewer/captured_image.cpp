#include "viewer/captured_image.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "base/text_encoding.h"

namespace vistrel {
namespace {

namespace fs = std::filesystem;

bool WriteAll(int file, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(file, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return true;
}

// Takes over `file`.
bool WriteAndClose(int file, std::span<const std::byte> bytes) {
    const bool written = WriteAll(file, bytes);
    return close(file) == 0 && written;
}

// A name that no other picture that is being written has.
fs::path NameBeside(const fs::path& path) {
    static std::atomic<int> count = 0;
    return path.parent_path() /
           (".vistrel-" + std::to_string(getpid()) + "-" + std::to_string(count++) + ".part");
}

bool WriteInPlace(const fs::path& path, std::span<const std::byte> bytes) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (file < 0) return false;
    if (WriteAndClose(file, bytes)) return true;
    std::error_code ignored;
    if (fs::is_regular_file(path, ignored)) fs::remove(path, ignored);
    return false;
}

// Whether another file of the same folder may still be opened.
bool IsOnlyTheName(int error) {
    return error == EACCES || error == EPERM || error == ENAMETOOLONG;
}

}  // namespace

bool WriteCapturedImage(const std::wstring& path, std::span<const std::byte> png) {
    std::error_code error;
    fs::path target = fs::canonical(ToPath(path), error);
    if (error) {
        if (error != std::errc::no_such_file_or_directory) return false;
        target = ToPath(path);
    } else if (!fs::is_regular_file(target, error)) {
        return WriteInPlace(target, png);  // a device or a pipe; a folder fails
    }

    const fs::path part = NameBeside(target);
    const int file = open(part.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    // On a full disk, the former picture is not to be emptied for nothing.
    if (file < 0) return IsOnlyTheName(errno) && WriteInPlace(target, png);
    error.clear();
    if (WriteAndClose(file, png))
        fs::rename(part, target, error);
    else
        error = std::make_error_code(std::errc::io_error);
    if (error) {
        std::error_code ignored;
        fs::remove(part, ignored);
    }
    return !error;
}

}  // namespace vistrel
