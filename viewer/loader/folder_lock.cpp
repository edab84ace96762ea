#include "viewer/loader/folder_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>

namespace vistrel::loader {

FolderLock::~FolderLock() {
    if (file_ >= 0) close(file_);
}

bool FolderLock::Take(const std::string& folder) {
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);
    const std::string path = folder + "/vistrel.lock";
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (file < 0) return false;
    if (flock(file, LOCK_EX | LOCK_NB) != 0) {
        close(file);
        return false;
    }
    if (file_ >= 0) close(file_);
    file_ = file;
    return true;
}

}  // namespace vistrel::loader
