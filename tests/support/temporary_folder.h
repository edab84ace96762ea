// SPDX-License-Identifier: GPL-3.0-or-later
// A folder of a test's own, gone with the object.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace vistrel::test {

class TemporaryFolder {
  public:
    // Makes an empty folder below the system's temporary folder (or `parent`).
    // Throws std::filesystem::filesystem_error.
    explicit TemporaryFolder(
        const std::filesystem::path& parent = std::filesystem::temp_directory_path());
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& Path() const { return path_; }
    [[nodiscard]] std::filesystem::path operator/(std::string_view name) const {
        return path_ / name;
    }

    // Writes `bytes` to the file `name` in the folder and returns its path.
    std::filesystem::path Write(std::string_view name, std::string_view bytes) const;

  private:
    std::filesystem::path path_;
};

// A whole file as bytes. Throws std::runtime_error when it cannot be read.
[[nodiscard]] std::string ReadFile(const std::filesystem::path& path);

}  // namespace vistrel::test
