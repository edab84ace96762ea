// SPDX-License-Identifier: GPL-3.0-or-later
// The folder of a new runtime, which takes the place of the user's own when it is whole.
#pragma once

#include <filesystem>

namespace vistrel {

class NewRuntime {
  public:
    // Makes an empty folder beside RuntimeFolder(). What a call that was killed has left is gone.
    // Throws std::runtime_error where that fails, or another process is at it.
    NewRuntime();
    ~NewRuntime();  // what has not taken its place is gone
    NewRuntime(const NewRuntime&) = delete;
    NewRuntime& operator=(const NewRuntime&) = delete;

    [[nodiscard]] const std::filesystem::path& Folder() const { return folder_; }

    // The former runtime is there until then, and gone after. Other files in its folder, such as
    // libraries of NVIDIA that the user has put there, stay. Throws std::system_error.
    void TakePlace();

    // For a process that ends while another thread fills the folder.
    static void Remove();

  private:
    std::filesystem::path folder_;
    int lock_ = -1;
};

}  // namespace vistrel
