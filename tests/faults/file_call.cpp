// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/faults/file_call.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace vistrel::test {
namespace {

namespace fs = std::filesystem;

constexpr int kNone = -1;

// Which argument names a file: by descriptor, or by a path below a folder's descriptor.
struct Place {
    int descriptor = kNone;
    int path = kNone;
};

enum class Kind { kOpen, kMake, kRename, kMoveOut, kSync, kRead, kMoveIn, kMap };

struct Row {
    int number;
    const char* name;
    Kind kind;
    Place place;
    Place target = {};  // the second file, where there is one
};

constexpr Place At(int descriptor) {
    return {descriptor, kNone};
}

constexpr Place Named(int path) {
    return {kNone, path};
}

// Taking files away needs no room, so it works on a full disk and is not among these.
constexpr auto kRows = std::to_array<Row>({
    {SYS_open, "open", Kind::kOpen, Named(0)},
    {SYS_openat, "openat", Kind::kOpen, {0, 1}},
    {SYS_creat, "creat", Kind::kOpen, Named(0)},
    {SYS_mkdir, "mkdir", Kind::kMake, Named(0)},
    {SYS_mkdirat, "mkdirat", Kind::kMake, {0, 1}},
    {SYS_rename, "rename", Kind::kRename, Named(0), Named(1)},
    {SYS_renameat, "renameat", Kind::kRename, {0, 1}, {2, 3}},
    {SYS_renameat2, "renameat2", Kind::kRename, {0, 1}, {2, 3}},
    {SYS_link, "link", Kind::kMake, Named(0), Named(1)},
    {SYS_linkat, "linkat", Kind::kMake, {0, 1}, {2, 3}},
    {SYS_symlink, "symlink", Kind::kMake, Named(1)},
    {SYS_symlinkat, "symlinkat", Kind::kMake, {1, 2}},
    {SYS_ftruncate, "ftruncate", Kind::kMake, At(0)},
    {SYS_fallocate, "fallocate", Kind::kMake, At(0)},
    {SYS_copy_file_range, "copy_file_range", Kind::kMake, At(2)},
    {SYS_sendfile, "sendfile", Kind::kMake, At(0)},
    {SYS_write, "write", Kind::kMoveOut, At(0)},
    {SYS_pwrite64, "pwrite64", Kind::kMoveOut, At(0)},
    {SYS_writev, "writev", Kind::kMake, At(0)},
    {SYS_pwritev, "pwritev", Kind::kMake, At(0)},
    {SYS_fchmod, "fchmod", Kind::kSync, At(0)},
    {SYS_fchmodat, "fchmodat", Kind::kSync, {0, 1}},
    {SYS_chmod, "chmod", Kind::kSync, Named(0)},
    {SYS_fsync, "fsync", Kind::kSync, At(0)},
    {SYS_fdatasync, "fdatasync", Kind::kSync, At(0)},
    {SYS_close, "close", Kind::kSync, At(0)},
    {SYS_read, "read", Kind::kMoveIn, At(0)},
    {SYS_pread64, "pread64", Kind::kMoveIn, At(0)},
    {SYS_readv, "readv", Kind::kRead, At(0)},
    {SYS_preadv, "preadv", Kind::kRead, At(0)},
    {SYS_mmap, "mmap", Kind::kMap, At(4)},
    {SYS_getdents64, "getdents64", Kind::kRead, At(0)},
    {SYS_stat, "stat", Kind::kRead, Named(0)},
    {SYS_lstat, "lstat", Kind::kRead, Named(0)},
    {SYS_fstat, "fstat", Kind::kRead, At(0)},
    {SYS_newfstatat, "newfstatat", Kind::kRead, {0, 1}},
    {SYS_statx, "statx", Kind::kRead, {0, 1}},
    {SYS_access, "access", Kind::kRead, Named(0)},
    {SYS_faccessat, "faccessat", Kind::kRead, {0, 1}},
    {SYS_faccessat2, "faccessat2", Kind::kRead, {0, 1}},
    {SYS_readlink, "readlink", Kind::kRead, Named(0)},
    {SYS_readlinkat, "readlinkat", Kind::kRead, {0, 1}},
});

std::uint64_t Argument(const user_regs_struct& registers, int index) {
    const std::array<std::uint64_t, 6> arguments = {registers.rdi, registers.rsi, registers.rdx,
                                                    registers.r10, registers.r8,  registers.r9};
    return arguments.at(static_cast<std::size_t>(index));
}

fs::path Process(pid_t thread) {
    return fs::path("/proc") / std::to_string(thread);
}

std::string ReadText(pid_t thread, std::uint64_t address) {
    std::ifstream memory(Process(thread) / "mem", std::ios::binary);
    memory.seekg(static_cast<std::streamoff>(address));
    std::string text;
    std::getline(memory, text, '\0');
    return text;
}

fs::path LinkTarget(const fs::path& link) {
    std::error_code ignored;
    return fs::read_symlink(link, ignored);
}

// Empty where the descriptor is not open.
fs::path PathOf(pid_t thread, int descriptor) {
    if (descriptor == AT_FDCWD) return LinkTarget(Process(thread) / "cwd");
    return LinkTarget(Process(thread) / "fd" / std::to_string(descriptor));
}

std::string PathAt(pid_t thread, const user_regs_struct& registers, const Place& place) {
    const int descriptor = place.descriptor == kNone
                               ? AT_FDCWD
                               : static_cast<int>(Argument(registers, place.descriptor));
    if (place.path == kNone) return PathOf(thread, descriptor);
    const fs::path path = ReadText(thread, Argument(registers, place.path));
    if (path.is_absolute()) return path.lexically_normal();
    const fs::path whole = PathOf(thread, descriptor);
    return path.empty() ? whole : (whole / path).lexically_normal();
}

bool ForWriting(std::uint64_t flags) {
    return (flags & (O_WRONLY | O_RDWR | O_CREAT | O_TRUNC)) != 0;
}

bool IsOpenForWriting(pid_t thread, int descriptor) {
    std::ifstream info(Process(thread) / "fdinfo" / std::to_string(descriptor));
    for (std::string word; info >> word;) {
        if (word != "flags:") continue;
        std::uint64_t flags = 0;
        info >> std::oct >> flags;
        return ForWriting(flags);
    }
    return false;
}

bool IsUnnamed(std::uint64_t openFlags) {
    return (openFlags & O_TMPFILE) == O_TMPFILE;
}

bool Writes(const Row& row, std::uint64_t openFlags) {
    switch (row.kind) {
        case Kind::kOpen:
            return row.number == SYS_creat || ForWriting(openFlags);
        case Kind::kMake:
        case Kind::kRename:
        case Kind::kMoveOut:
        case Kind::kSync:
            return true;
        case Kind::kRead:
        case Kind::kMoveIn:
        case Kind::kMap:
            return false;
    }
    return false;
}

void Classify(const Row& row, std::uint64_t openFlags, FileCall& call) {
    std::error_code ignored;
    const bool writes = Writes(row, openFlags);
    call.isUnnamed = row.kind == Kind::kOpen && IsUnnamed(openFlags);
    const bool isNew =
        call.isUnnamed || (row.kind == Kind::kOpen && !fs::exists(call.paths.front(), ignored));
    call.access = writes ? Access::kWrite : Access::kRead;
    call.error = writes && row.kind != Kind::kSync ? ENOSPC : EIO;
    if (row.kind == Kind::kMap) call.error = ENOMEM;
    call.takesRoom = row.kind == Kind::kMake || row.kind == Kind::kMoveOut || (writes && isNew);
    call.isDone = row.kind == Kind::kSync;
    call.movesBytes = row.kind == Kind::kMoveOut || row.kind == Kind::kMoveIn;
}

// Anonymous memory has no file, and closing a file that was only read cannot lose anything.
bool IsOfInterest(pid_t thread, const user_regs_struct& registers, const Row& row) {
    if (row.kind == Kind::kMap) return (Argument(registers, 3) & MAP_ANONYMOUS) == 0;
    if (row.number != SYS_close) return true;
    return IsOpenForWriting(thread, static_cast<int>(Argument(registers, 0)));
}

}  // namespace

std::vector<int> FileCallNumbers() {
    std::vector<int> numbers;
    for (const Row& row : kRows) numbers.push_back(row.number);
    return numbers;
}

std::optional<FileCall> ReadFileCall(pid_t thread, const user_regs_struct& registers) {
    const auto* const row =
        std::ranges::find(kRows, static_cast<int>(registers.orig_rax), &Row::number);
    if (row == kRows.end() || !IsOfInterest(thread, registers, *row)) return std::nullopt;
    FileCall call;
    call.name = row->name;
    call.paths.push_back(PathAt(thread, registers, row->place));
    const bool hasTarget = row->target.path != kNone;
    if (hasTarget) call.paths.push_back(PathAt(thread, registers, row->target));
    Classify(*row, Argument(registers, row->place.path + 1), call);
    return call;
}

}  // namespace vistrel::test
