// SPDX-License-Identifier: GPL-3.0-or-later
// A file that lies in memory and still has a name.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <string_view>

#include "tests/fuzz/require.h"

namespace vistrel::fuzz {

class MemoryFile {
  public:
    explicit MemoryFile(std::string_view bytes) {
        Require(descriptor_ >= 0);
        Require(write(descriptor_, bytes.data(), bytes.size()) ==
                static_cast<ssize_t>(bytes.size()));
    }
    ~MemoryFile() { close(descriptor_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    [[nodiscard]] std::string Path() const {
        return "/proc/self/fd/" + std::to_string(descriptor_);
    }

  private:
    int descriptor_ = memfd_create("input", 0);
};

}  // namespace vistrel::fuzz
