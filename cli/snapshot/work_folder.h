// SPDX-License-Identifier: GPL-3.0-or-later
// A folder for the time that a program runs.
#pragma once

#include <filesystem>

namespace vistrel {

// One thread.
class WorkFolder {
  public:
    // Makes an empty folder that only this user can read, in $TMPDIR, else in /tmp. Its path holds
    // nothing but letters, digits and "/._-", so that it can stand in any address or command.
    // Throws std::runtime_error.
    WorkFolder();
    // Removes it with all that is in it.
    ~WorkFolder();
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& Path() const { return path_; }

  private:
    std::filesystem::path path_;
};

}  // namespace vistrel
