// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/fetch/new_runtime.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <system_error>

#include "base/text_encoding.h"
#include "base/user_folders.h"

namespace vistrel {
namespace {

namespace fs = std::filesystem;

fs::path Beside(const char* ending) {
    fs::path folder = ToPath(RuntimeFolder());
    folder += ending;
    return folder;
}

fs::path GrowingFolder() {
    return Beside(".new");
}

// Waits for nobody.
int Lock(const fs::path& folder) {
    const int file = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (file < 0) throw fs::filesystem_error("open", folder, {errno, std::generic_category()});
    if (flock(file, LOCK_EX | LOCK_NB) == 0) return file;
    close(file);
    throw std::runtime_error("Another vistrel-fetch gpu is at work.");
}

// Both at once, where the file system can do that.
bool Exchange(const fs::path& one, const fs::path& other) {
    return renameat2(AT_FDCWD, one.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE) == 0;
}

// What is none of ONNX Runtime's.
void MoveOthers(const fs::path& from, const fs::path& to) {
    if (!fs::is_directory(fs::symlink_status(from))) return;
    for (const fs::directory_entry& entry : fs::directory_iterator(from)) {
        const fs::path name = entry.path().filename();
        if (!name.native().starts_with("libonnxruntime")) fs::rename(entry.path(), to / name);
    }
}

}  // namespace

NewRuntime::NewRuntime() : folder_(GrowingFolder()) {
    fs::create_directories(folder_.parent_path());
    lock_ = Lock(folder_.parent_path());
    Remove();
    fs::create_directory(folder_);
}

NewRuntime::~NewRuntime() {
    Remove();
    close(lock_);
}

void NewRuntime::Remove() {
    std::error_code ignored;
    fs::remove_all(GrowingFolder(), ignored);
}

void NewRuntime::TakePlace() {
    const fs::path place = ToPath(RuntimeFolder());
    if (Exchange(folder_, place)) {
        MoveOthers(folder_, place);
        return;
    }
    const fs::path old = Beside(".old");
    fs::remove_all(old);
    if (fs::exists(fs::symlink_status(place))) fs::rename(place, old);
    fs::rename(folder_, place);
    MoveOthers(old, place);
    fs::remove_all(old);
}

}  // namespace vistrel
