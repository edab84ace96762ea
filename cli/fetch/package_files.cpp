// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/fetch/package_files.h"

#include <archive.h>
#include <archive_entry.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "base/input_file.h"
#include "base/new_file.h"
#include "engine/onnxruntime_library.h"

namespace vistrel {
namespace {

namespace fs = std::filesystem;

// A few times what the packages hold.
constexpr std::int64_t kMostBytesOfPackage = std::int64_t{8} << 30;
constexpr std::int64_t kMostBytesOfFile = std::int64_t{2} << 30;
constexpr int kMostMembers = 100'000;
constexpr std::size_t kPackagePiece = std::size_t{1} << 20;

constexpr std::array<const char*, 3> kWanted = {kOnnxRuntimeFile, kSharedProviderFile,
                                                kCudaProviderFile};

// In packages the library itself has its version in its name, or none.
bool IsRuntime(std::string_view name) {
    constexpr std::string_view kBeginning = "libonnxruntime.so";
    return name.starts_with(kBeginning) &&
           name.find_first_not_of(".0123456789", kBeginning.size()) == name.npos;
}

// What a member is to be called; empty: it is not wanted.
std::string NameFor(const fs::path& member) {
    const std::string name = member.filename();
    if (IsRuntime(name)) return kOnnxRuntimeFile;
    return name == kSharedProviderFile || name == kCudaProviderFile ? name : std::string();
}

// Each is wanted once: an archive may hold a file under several names.
class Missing {
  public:
    bool Take(const std::string& name) { return std::erase(names_, name) > 0; }
    void RequireNone() const {
        if (names_.empty()) return;
        throw std::runtime_error("It holds no " + std::string(names_.front()) + ".");
    }

  private:
    std::vector<std::string_view> names_{kWanted.begin(), kWanted.end()};
};

struct FreeArchive {
    void operator()(archive* read) const { archive_read_free(read); }
};
using Archive = std::unique_ptr<archive, FreeArchive>;

[[noreturn]] void FailToRead(archive* read) {
    const char* const told = archive_error_string(read);
    std::string reason = told != nullptr ? told : "it is no archive";
    while (reason.ends_with('\n')) reason.pop_back();
    throw std::runtime_error("It cannot be read: " + reason + ".");
}

void Require(archive* read, int result) {
    if (result != ARCHIVE_OK && result != ARCHIVE_WARN) FailToRead(read);
}

Archive OpenPackage(const fs::path& package) {
    Archive read(archive_read_new());
    if (read == nullptr) throw std::bad_alloc();
    Require(read.get(), archive_read_support_filter_gzip(read.get()));
    Require(read.get(), archive_read_support_format_tar(read.get()));
    Require(read.get(), archive_read_support_format_zip(read.get()));
    Require(read.get(), archive_read_open_filename(read.get(), package.c_str(), kPackagePiece));
    return read;
}

void RequireSensible(std::int64_t bytes, std::int64_t most) {
    if (bytes > most) throw std::runtime_error("It holds more than any package of ONNX Runtime.");
}

struct CloseGzip {
    void operator()(gzFile_s* file) const { gzclose_r(file); }
};

// libarchive passes over the checksum at the end of what gzip has packed.
void RequireSoundGzip(const fs::path& package) {
    const std::unique_ptr<gzFile_s, CloseGzip> file(gzopen(package.c_str(), "rbe"));
    if (file == nullptr) throw std::runtime_error("It cannot be opened.");
    std::vector<char> piece(kPackagePiece);
    std::int64_t bytes = 0;
    int got = 0;
    while ((got = gzread(file.get(), piece.data(), static_cast<unsigned>(piece.size()))) > 0) {
        if (gzdirect(file.get()) == 1) return;  // of another kind
        bytes += got;
        RequireSensible(bytes, kMostBytesOfPackage);
    }
    int error = Z_OK;
    const char* const reason = gzerror(file.get(), &error);
    if (error != Z_OK) throw std::runtime_error(std::string("It cannot be read: ") + reason + ".");
}

void WriteMember(archive* read, const fs::path& file) {
    NewFile out(file);
    std::vector<char> piece(kPackagePiece);
    std::int64_t written = 0;
    while (true) {
        const la_ssize_t got = archive_read_data(read, piece.data(), piece.size());
        if (got < 0) FailToRead(read);
        if (got == 0) break;
        written += got;
        RequireSensible(written, kMostBytesOfFile);
        out.Append(std::string_view(piece.data(), static_cast<std::size_t>(got)));
    }
    out.Commit();
}

void TakeFromArchive(const fs::path& package, const fs::path& folder) {
    RequireSoundGzip(package);
    const Archive read = OpenPackage(package);
    Missing missing;
    std::int64_t bytes = 0;
    for (int members = 0;; ++members) {
        archive_entry* entry = nullptr;
        const int result = archive_read_next_header(read.get(), &entry);
        if (result == ARCHIVE_EOF) break;
        Require(read.get(), result);
        // Also of what is skipped: a packed one has to be unpacked for that.
        bytes += archive_entry_size(entry);
        RequireSensible(bytes, kMostBytesOfPackage);
        RequireSensible(members, kMostMembers);
        const char* const path = archive_entry_pathname(entry);
        if (path == nullptr || archive_entry_filetype(entry) != AE_IFREG ||
            archive_entry_hardlink(entry) != nullptr) {
            continue;
        }
        const std::string name = NameFor(path);
        if (missing.Take(name)) WriteMember(read.get(), folder / name);
    }
    missing.RequireNone();
}

void CopyLibrary(const fs::path& from, const fs::path& to) {
    const InputFile in(from);
    NewFile out(to);
    std::vector<std::byte> piece(kPackagePiece);
    for (std::uint64_t position = 0; position < in.Size(); position += piece.size()) {
        piece.resize(std::min<std::uint64_t>(kPackagePiece, in.Size() - position));
        in.Read(position, piece);
        out.Append(std::span<const std::byte>(piece));
    }
    out.Commit();
}

void TakeFromFolder(const fs::path& package, const fs::path& folder) {
    const fs::path below = package / "lib";
    const fs::path from = fs::is_directory(below) ? below : package;
    Missing missing;
    for (const fs::directory_entry& entry : fs::directory_iterator(from)) {
        if (!entry.is_regular_file()) continue;
        const std::string name = NameFor(entry.path());
        if (missing.Take(name)) CopyLibrary(entry.path(), folder / name);
    }
    missing.RequireNone();
}

}  // namespace

void TakeRuntimeFiles(const fs::path& package, const fs::path& folder) {
    try {
        if (fs::is_directory(package)) {
            TakeFromFolder(package, folder);
        } else {
            TakeFromArchive(package, folder);
        }
    } catch (const std::system_error&) {
        throw;  // names what it is about
    } catch (const std::runtime_error& failure) {
        throw std::runtime_error(package.native() + ": " + failure.what());
    }
}

}  // namespace vistrel
