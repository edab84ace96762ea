// SPDX-License-Identifier: GPL-3.0-or-later
// Where the buffers of a glTF file lie.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "base/input_file.h"

namespace vistrel {

struct GltfBuffer {
    const InputFile* file = nullptr;
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
};

// Keeps buffers that are not in the file itself.
class GltfBufferFiles {
  public:
    // One in a "data:" text, or in a file in the folder or below. The file stays as long as this
    // object. Throws std::runtime_error where there is none, and std::bad_alloc.
    GltfBuffer Open(const std::string& uri, const std::filesystem::path& folder);

  private:
    std::vector<std::vector<std::byte>> contents_;
    std::vector<std::unique_ptr<InputFile>> files_;
};

}  // namespace vistrel
