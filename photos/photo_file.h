// SPDX-License-Identifier: GPL-3.0-or-later
// A photograph's file, whole and in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <vector>

#include "photos/decoded_photo.h"

namespace vistrel {

inline constexpr std::uint64_t kLargestPhotoFile = std::uint64_t{2} << 30;  // bytes

// All bytes of a file, a pipe, a socket or a device, which are read to their end; a pipe waits for
// somebody who writes to it. They are copied, not mapped: a file that others cut meanwhile would
// end the process. At most `largest` bytes, never none.
//
// Throws PhotoError for what cannot be read, with the system's reason, for folders and terminals,
// for what is empty, too large or more than there is memory for, and for a regular file that
// changes while it is read. Any thread.
[[nodiscard]] std::vector<std::byte> ReadPhotoFile(const std::filesystem::path& path,
                                                   std::uint64_t largest = kLargestPhotoFile);

// The same from where an open descriptor stands, which is left open.
[[nodiscard]] std::vector<std::byte> ReadPhotoDescriptor(int descriptor,
                                                         std::uint64_t largest = kLargestPhotoFile);

}  // namespace vistrel
