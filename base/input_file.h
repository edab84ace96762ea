// SPDX-License-Identifier: GPL-3.0-or-later
// A file of which pieces are read from several threads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>

namespace vistrel {

class InputFile {
  public:
    // Throws std::runtime_error when there is no such file or it is no regular one.
    explicit InputFile(const std::filesystem::path& path);
    // One that is in memory already, which outlives this object.
    explicit InputFile(std::span<const std::byte> content);
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    [[nodiscard]] std::uint64_t Size() const { return size_; }

    // Fills `bytes` with those that begin at `position`. Throws std::runtime_error when the file
    // cannot be read or ends before. Any thread.
    void Read(std::uint64_t position, std::span<std::byte> bytes) const;

  private:
    int descriptor_ = -1;  // of a file on the disk
    const std::byte* content_ = nullptr;
    std::uint64_t size_ = 0;
};

}  // namespace vistrel
