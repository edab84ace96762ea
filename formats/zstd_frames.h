// SPDX-License-Identifier: GPL-3.0-or-later
// Zstandard frames (RFC 8878) of a known length.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace vistrel {

// Exactly `bytes` bytes. Memory grows with what comes out. Throws std::runtime_error when the frame
// is damaged or gives another number of bytes; std::bad_alloc. Any thread.
[[nodiscard]] std::vector<std::byte> UnpackZstd(std::span<const std::byte> content,
                                                std::size_t bytes);

// One frame, which says its length. Throws std::bad_alloc. Any thread.
[[nodiscard]] std::vector<std::byte> PackZstd(std::span<const std::byte> content);

}  // namespace vistrel
