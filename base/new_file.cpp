// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/new_file.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <exception>
#include <mutex>
#include <string>
#include <system_error>
#include <utility>

#include "base/part_files.h"

namespace vistrel {
namespace {

namespace fs = std::filesystem;

constexpr mode_t kNewFileMode = 0666;  // less what the user masks
constexpr mode_t kPermissions = 07777;

[[noreturn]] void Fail(int error, const fs::path& path) {
    throw std::system_error(error, std::generic_category(), path.native());
}

int Open(const fs::path& path, int flags) {
    int file = -1;
    do {
        file = open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY, kNewFileMode);
    } while (file < 0 && errno == EINTR);
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

// 0, or what went wrong. `writeSome` does what the system's call does: it writes some of the bytes.
template <typename WriteSome>
int WriteAll(std::span<const std::byte> bytes, const WriteSome& writeSome) {
    const WriteSignalsHeldBack heldBack;
    while (!bytes.empty()) {
        const ssize_t written = writeSome(bytes);
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return errno;
        if (written == 0) return ENOSPC;  // so that this always ends
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return 0;
}

// What a file that has no name is linked by.
std::string DescriptorName(int file) {
    return "/proc/self/fd/" + std::to_string(file);
}

// The file that a chain of links leads to; it need not exist.
fs::path LinksResolved(const fs::path& path) {
    constexpr int kLongestChain = 40;
    fs::path target = path;
    for (int i = 0; i < kLongestChain; ++i) {
        struct stat found = {};
        if (lstat(target.c_str(), &found) != 0) {
            if (errno == ENOENT) return target;
            Fail(errno, path);
        }
        if (!S_ISLNK(found.st_mode)) return target;
        target = target.parent_path() / fs::read_symlink(target);
    }
    Fail(ELOOP, path);
}

bool IsSame(const struct stat& one, const struct stat& other) {
    return one.st_ino == other.st_ino && one.st_dev == other.st_dev;
}

// Whether a new file under that name takes the place of the former one, which is not so for the
// open files below /proc.
bool IsFileAt(const struct stat& former, const fs::path& target) {
    struct stat found = {};
    return lstat(target.c_str(), &found) == 0 && IsSame(found, former);
}

// Whether the open file has not been moved or removed.
bool IsStillAt(const struct stat& opened, const fs::path& name) {
    struct stat named = {};
    if (stat(name.c_str(), &named) == 0) return IsSame(opened, named);
    if (errno != ENOENT) Fail(errno, name);
    return false;
}

// Whether somebody else has it. File systems that know no locks have it for everybody.
bool IsLockedByOthers(int file) {
    return flock(file, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

// A file's name is safe only when its folder is. If that fails, a loss of power may bring the
// former file back, but never half of one.
void SyncFolderOf(const fs::path& path) {
    const int folder = Open(path.parent_path() / ".", O_RDONLY | O_DIRECTORY);
    if (folder < 0) return;
    fsync(folder);
    close(folder);
}

}  // namespace

NewFile::NewFile(NewFileOptions options)
    : options_(std::move(options)), buffer_(new std::byte[kBufferSize]) {}

// When this throws, the destructor runs, since the other constructor has made the object.
NewFile::NewFile(const fs::path& path, NewFileOptions options) : NewFile(std::move(options)) {
    target_ = path;
    if (!options_.growsAs.empty()) {
        OpenGrowing();
        return;
    }
    struct stat former = {};
    replaces_ = stat(path.c_str(), &former) == 0;
    if (!replaces_ && errno != ENOENT) Fail(errno, path);
    target_ = LinksResolved(path);
    if (replaces_) {
        file_ = Open(path, O_WRONLY);  // the folder does not tell whether this is allowed
        if (file_ < 0) Fail(errno, path);
        emptyFirst_ = S_ISREG(former.st_mode);
        if (!emptyFirst_ || !IsFileAt(former, target_)) return;
    } else if (!target_.has_filename()) {
        Fail(path.empty() ? ENOENT : EISDIR, path);
    }
    OpenBesideTarget();
    if (replaces_ && !emptyFirst_) TakeOver(former.st_uid, former.st_gid, former.st_mode);
}

NewFile::~NewFile() {
    try {
        Discard();
    } catch (const std::exception&) {
        // Nobody is there to be told.
    }
    if (lock_ >= 0) close(lock_);
}

// The lock is that of the open file: it ends with the process, however that ends. Once it is held
// the file may no longer be the one of that name, but the one that its writer has put in its place.
void NewFile::OpenGrowing() {
    const fs::path& name = options_.growsAs;
    struct stat opened = {};
    do {
        part_.clear();
        if (file_ >= 0) close(file_);
        file_ = Open(name, O_WRONLY | O_CREAT);
        if (file_ < 0) Fail(errno, name);
        if (IsLockedByOthers(file_)) Fail(EWOULDBLOCK, name);
        part_ = name;  // from here on ours to be removed after a failure
        if (fstat(file_, &opened) != 0) Fail(errno, name);
    } while (!IsStillAt(opened, name));
    lock_ = fcntl(file_, F_DUPFD_CLOEXEC, 0);
    if (lock_ < 0) Fail(errno, name);
    emptyFirst_ = S_ISREG(opened.st_mode);
}

// Where that is impossible, the open former file is kept, to be written in place.
void NewFile::OpenBesideTarget() {
    int fresh = Open(target_.parent_path() / ".", O_WRONLY | O_TMPFILE);
    isUnnamed_ = fresh >= 0 && access(DescriptorName(fresh).c_str(), F_OK) == 0;
    if (!isUnnamed_) {
        if (fresh >= 0) close(fresh);
        PartFiles& parts = PartFiles::All();
        const std::lock_guard lock(parts.mutex);
        part_ = parts.NameBeside(target_, [&fresh](const fs::path& name) {
            fresh = Open(name, O_WRONLY | O_CREAT | O_EXCL);
            return fresh >= 0;
        });
        if (part_.empty()) {
            const int error = errno;
            const bool isTheFolder = error == EACCES || error == EPERM || error == EROFS;
            if (replaces_ && isTheFolder) return;
            Fail(error, target_);
        }
    }
    if (file_ >= 0) close(file_);
    file_ = fresh;
    emptyFirst_ = false;
}

void NewFile::TakeOver(unsigned owner, unsigned group, unsigned mode) {
    // A file can be given away by root alone; for others it becomes theirs.
    [[maybe_unused]] const int ignored = fchown(file_, owner, group);
    if (fchmod(file_, mode & kPermissions) != 0) Fail(errno, target_);
}

void NewFile::Append(std::span<const std::byte> bytes) {
    if (bytes.size() <= kLargestPiece) {
        std::ranges::copy(bytes, Next(bytes.size()).begin());
    } else {
        Flush();
        WriteOut(bytes);
    }
}

void NewFile::Append(std::string_view bytes) {
    Append(std::as_bytes(std::span(bytes)));
}

std::optional<std::uint64_t> NewFile::LeaveOut(std::uint64_t bytes) {
    Flush();
    struct stat opened = {};
    if (fstat(file_, &opened) != 0) GiveUp(errno);
    if (!S_ISREG(opened.st_mode)) return std::nullopt;
    const off_t end = lseek(file_, static_cast<off_t>(bytes), SEEK_CUR);
    if (end < 0) GiveUp(errno);
    return static_cast<std::uint64_t>(end) - bytes;
}

// Leaves the file open after a failure: other threads may be using it.
void NewFile::WriteAt(std::uint64_t place, std::span<const std::byte> bytes) const {
    const std::uint64_t end = place + bytes.size();
    const int error = WriteAll(bytes, [&](std::span<const std::byte> rest) {
        return pwrite(file_, rest.data(), rest.size(), static_cast<off_t>(end - rest.size()));
    });
    if (error != 0) Fail(error, target_);
}

int NewFile::Descriptor() {
    WriteOut({});
    return file_;
}

void NewFile::Flush() {
    WriteOut({buffer_.get(), std::exchange(used_, 0)});
}

void NewFile::WriteOut(std::span<const std::byte> bytes) {
    int error = std::exchange(emptyFirst_, false) && ftruncate(file_, 0) != 0 ? errno : 0;
    if (error == 0) {
        error = WriteAll(bytes, [this](std::span<const std::byte> rest) {
            return write(file_, rest.data(), rest.size());
        });
    }
    if (error != 0) GiveUp(error);
}

void NewFile::GiveUp(int error) {
    if (file_ >= 0) close(std::exchange(file_, -1));  // so that nothing that follows can succeed
    Fail(error, target_);
}

void NewFile::Finish() {
    if (isFinished_) return;
    Flush();
    // A pipe or a device has no disk to get to.
    const bool sync = options_.durability == Durability::kOnDisk;
    if (sync && fsync(file_) != 0 && errno != EINVAL) GiveUp(errno);
    // Some file systems tell only in closing that they have lost something. A file without a name
    // stays open until it has one; closing a copy makes them tell as well.
    const int closed = isUnnamed_ ? fcntl(file_, F_DUPFD_CLOEXEC, 0) : std::exchange(file_, -1);
    if (closed < 0 || close(closed) != 0) GiveUp(errno);
    isFinished_ = true;
}

void NewFile::Commit() {
    Finish();
    if (!isUnnamed_ && part_.empty()) return;  // it grew where it is
    TakePlace();
    if (options_.durability == Durability::kOnDisk) SyncFolderOf(target_);
}

void NewFile::TakePlace() {
    PartFiles& parts = PartFiles::All();
    const std::lock_guard lock(parts.mutex);
    if (isUnnamed_) {
        const std::string self = DescriptorName(file_);
        const auto name = [&self](const fs::path& path) {
            return linkat(AT_FDCWD, self.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0;
        };
        if (!replaces_ && name(target_)) return;
        if (!replaces_ && errno != EEXIST) Fail(errno, target_);
        part_ = parts.NameBeside(target_, name);
        if (part_.empty()) Fail(errno, target_);
    }
    const fs::path part = part_;
    if (!options_.growsAs.empty()) part_.clear();  // stays there if it cannot be moved
    if (rename(part.c_str(), target_.c_str()) != 0) Fail(errno, target_);
    parts.Forget(part);
    part_.clear();
}

void NewFile::Discard() {
    if (file_ >= 0) close(std::exchange(file_, -1));
    if (part_.empty()) return;
    const fs::path part = std::exchange(part_, {});
    PartFiles& parts = PartFiles::All();
    const std::lock_guard lock(parts.mutex);
    parts.Forget(part);
    if (unlink(part.c_str()) == 0 || errno == ENOENT) return;
    throw fs::filesystem_error("remove", part, std::error_code(errno, std::generic_category()));
}

bool WriteNewFile(const fs::path& path, std::span<const std::byte> bytes, Durability durability) {
    try {
        NewFile file(path, {.durability = durability});
        file.Append(bytes);
        file.Commit();
        return true;
    } catch (const std::system_error&) {
        return false;
    }
}

void DiscardUnfinishedFiles() {
    PartFiles& parts = PartFiles::All();
    parts.mutex.lock();  // for good
    parts.RemoveAll();
}

}  // namespace vistrel
