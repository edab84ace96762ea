// SPDX-License-Identifier: GPL-3.0-or-later
// The files of this process that grow under a name of their own, for the one writer of new files.
#pragma once

#include <filesystem>
#include <functional>
#include <mutex>
#include <set>

namespace vistrel {

class PartFiles {
  public:
    static PartFiles& All();

    // Held while a file gets a name or loses it, and for all the other functions.
    std::mutex mutex;

    // Finds a name beside `target` that no other file has. `make` gives it to a file and says
    // whether that worked, with errno if not. Empty after a failure, errno telling why.
    std::filesystem::path NameBeside(const std::filesystem::path& target,
                                     const std::function<bool(const std::filesystem::path&)>& make);

    // The file has been moved or removed.
    void Forget(const std::filesystem::path& name) { live_.erase(name); }

    void RemoveAll() const;

  private:
    PartFiles() = default;

    std::set<std::filesystem::path> live_;  // guarded by mutex
};

}  // namespace vistrel
