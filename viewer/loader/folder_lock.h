// One program at a time in a folder.
#pragma once

#include <string>

namespace vistrel::loader {

// Ends with the object, and with the process however that ends.
class FolderLock {
  public:
    FolderLock() = default;
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

    // Makes the folder (UTF-8) where it is missing. False when it cannot be written, and when
    // another lock, of this or another process, holds it.
    bool Take(const std::string& folder);

  private:
    int file_ = -1;
};

}  // namespace vistrel::loader
