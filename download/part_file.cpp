// SPDX-License-Identifier: GPL-3.0-or-later
#include "download/part_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <span>
#include <system_error>
#include <utility>

#include "base/new_file.h"
#include "base/whole_file.h"
#include "download/http_values.h"

namespace vistrel {
namespace {

constexpr std::string_view kUrl = "url ";
constexpr std::string_view kEtag = "etag ";
constexpr std::string_view kSize = "size ";
constexpr std::string_view kSha256 = "sha256 ";

[[noreturn]] void FailWith(int error, const std::filesystem::path& file) {
    throw std::system_error(error, std::generic_category(), file.native());
}

void RequireCall(bool succeeded, const std::filesystem::path& file) {
    if (!succeeded) FailWith(errno, file);
}

// What follows `name` on the next line of `text`.
std::optional<std::string> TakeLine(std::string_view& text, std::string_view name) {
    const std::size_t end = text.find('\n');
    if (!text.starts_with(name) || end == text.npos) return std::nullopt;
    std::string value(text.substr(name.size(), end - name.size()));
    text.remove_prefix(end + 1);
    return value;
}

void SyncFolder(const std::filesystem::path& folder) {
    const int opened = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (opened < 0) return;
    fsync(opened);
    close(opened);
}

}  // namespace

std::filesystem::path PartNameOf(const std::filesystem::path& file) {
    return file.native() + ".part";
}

std::filesystem::path OriginNameOf(const std::filesystem::path& file) {
    return file.native() + ".part.origin";
}

std::optional<PartOrigin> ReadPartOrigin(const std::filesystem::path& file) {
    const std::optional<std::string> text = ReadWholeFile(OriginNameOf(file));
    if (!text) return std::nullopt;
    std::string_view rest = *text;
    const auto url = TakeLine(rest, kUrl);
    const auto etag = TakeLine(rest, kEtag);
    const auto size = TakeLine(rest, kSize);
    const auto sha256 = TakeLine(rest, kSha256);
    const auto bytes = ParseByteCount(size.value_or(""));
    if (!url || !etag || !bytes || !sha256 || !rest.empty()) return std::nullopt;
    return PartOrigin{*url, *etag, *bytes, *sha256};
}

PartFile::PartFile(std::filesystem::path file) : file_(std::move(file)), part_(PartNameOf(file_)) {
    try {
        Open();
    } catch (...) {
        if (descriptor_ >= 0) close(descriptor_);
        throw;
    }
}

PartFile::~PartFile() {
    if (descriptor_ >= 0) close(descriptor_);
}

// The lock is that of the open file: it ends with the process, however that ends. Once it is held
// the file may no longer be the one of that name, but whole and in its place, or gone.
void PartFile::Open() {
    struct stat opened = {};
    struct stat named = {};
    do {
        if (descriptor_ >= 0) close(descriptor_);
        descriptor_ = open(part_.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW,
                           S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH);
        RequireCall(descriptor_ >= 0, part_);
        // File systems that know no locks have it for everybody.
        if (flock(descriptor_, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
            throw PartIsBusy(file_.native() + ": somebody else is fetching this file already");
        }
        RequireCall(fstat(descriptor_, &opened) == 0, part_);
    } while (stat(part_.c_str(), &named) != 0 || named.st_ino != opened.st_ino ||
             named.st_dev != opened.st_dev);
    if (!S_ISREG(opened.st_mode)) FailWith(EINVAL, part_);
    size_ = opened.st_size;
}

void PartFile::Begin(const PartOrigin& origin) {
    RequireCall(ftruncate(descriptor_, 0) == 0, part_);
    size_ = 0;
    std::string text;
    text.append(kUrl).append(origin.url).append("\n");
    text.append(kEtag).append(origin.etag).append("\n");
    text.append(kSize).append(std::to_string(origin.size)).append("\n");
    text.append(kSha256).append(origin.sha256).append("\n");
    NewFile record(OriginNameOf(file_));
    record.Append(text);
    record.Commit();
}

void PartFile::Append(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(descriptor_, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        RequireCall(written >= 0, part_);
        size_ += written;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

Sha256 PartFile::Sum() const {
    return Sha256OfFile(part_);
}

void PartFile::Commit() {
    RequireCall(fsync(descriptor_) == 0, part_);
    RequireCall(rename(part_.c_str(), file_.c_str()) == 0, file_);
    std::error_code ignored;
    std::filesystem::remove(OriginNameOf(file_), ignored);
    SyncFolder(file_.parent_path() / ".");
}

void PartFile::Discard() {
    RequireCall(unlink(part_.c_str()) == 0, part_);
    std::error_code ignored;
    std::filesystem::remove(OriginNameOf(file_), ignored);
}

}  // namespace vistrel
