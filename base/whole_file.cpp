#include "base/whole_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <system_error>

namespace vistrel {
namespace {

constexpr mode_t kNewFileMode = 0666;  // less what the user masks
constexpr mode_t kPermissions = 07777;

class File {
  public:
    File(const std::filesystem::path& path, int flags) {
        do {
            descriptor_ = open(path.c_str(), flags | O_CLOEXEC, kNewFileMode);
        } while (descriptor_ < 0 && errno == EINTR);
    }
    ~File() {
        if (IsOpen()) close(descriptor_);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    [[nodiscard]] bool IsOpen() const { return descriptor_ >= 0; }
    [[nodiscard]] int Descriptor() const { return descriptor_; }

    [[nodiscard]] bool Write(std::string_view bytes) const {
        while (!bytes.empty()) {
            const ssize_t written = write(descriptor_, bytes.data(), bytes.size());
            if (written < 0 && errno != EINTR) return false;
            if (written > 0) bytes.remove_prefix(static_cast<std::size_t>(written));
        }
        return true;
    }

    // Some file systems tell only now that they have lost something.
    [[nodiscard]] bool Close() {
        const int result = close(descriptor_);
        descriptor_ = -1;
        return result == 0;
    }

  private:
    int descriptor_ = -1;
};

bool WriteAndClose(File& file, std::string_view bytes, bool onDisk) {
    return file.Write(bytes) && (!onDisk || fsync(file.Descriptor()) == 0) && file.Close();
}

// The file that a chain of links leads to; it need not exist.
std::filesystem::path LinksResolved(std::filesystem::path path) {
    constexpr int kLongestChain = 40;
    std::error_code failure;
    for (int i = 0; i < kLongestChain && std::filesystem::is_symlink(path, failure); ++i) {
        const std::filesystem::path target = std::filesystem::read_symlink(path, failure);
        if (failure) break;
        path = path.parent_path() / target;
    }
    return path;
}

// A new file in the folder of `path` that no other process uses.
std::unique_ptr<File> MakeBeside(const std::filesystem::path& path, std::filesystem::path& name) {
    constexpr int kAttempts = 100;  // a killed process may have left some behind
    for (int i = 0; i < kAttempts; ++i) {
        name = path;
        name += '.' + std::to_string(getpid());
        name += '-' + std::to_string(i);
        name += ".new";
        auto file = std::make_unique<File>(name, O_WRONLY | O_CREAT | O_EXCL);
        if (file->IsOpen()) return file;
        if (errno != EEXIST) break;
    }
    return nullptr;
}

}  // namespace

std::optional<std::string> ReadWholeFile(const std::filesystem::path& path) {
    const File file(path, O_RDONLY | O_NONBLOCK);  // a pipe without a writer would never open
    struct stat found = {};
    if (!file.IsOpen() || fstat(file.Descriptor(), &found) != 0) return std::nullopt;
    if (!S_ISREG(found.st_mode)) return std::nullopt;
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

bool WriteWholeFile(const std::filesystem::path& path, std::string_view bytes, bool onDisk) {
    const std::filesystem::path target = LinksResolved(path);
    struct stat old = {};
    const bool exists = lstat(target.c_str(), &old) == 0;
    if (!exists && errno != ENOENT) return false;
    if (exists && !S_ISREG(old.st_mode)) return false;

    std::filesystem::path name;
    const std::unique_ptr<File> fresh = MakeBeside(target, name);
    if (!fresh) {
        if (!exists || (errno != EACCES && errno != EPERM)) return false;
        File file(target, O_WRONLY | O_TRUNC);
        return file.IsOpen() && WriteAndClose(file, bytes, onDisk);
    }
    const bool whole = (!exists || fchmod(fresh->Descriptor(), old.st_mode & kPermissions) == 0) &&
                       WriteAndClose(*fresh, bytes, onDisk) &&
                       rename(name.c_str(), target.c_str()) == 0;
    if (!whole) unlink(name.c_str());
    return whole;
}

}  // namespace vistrel
