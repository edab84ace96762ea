// SPDX-License-Identifier: GPL-3.0-or-later
// Deflate streams (RFC 1951), bare and as gzip files (RFC 1952), of a known length.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "formats/byte_sink.h"

namespace vistrel {

// The checksum that gzip and zip files have. Any thread.
[[nodiscard]] std::uint32_t Crc32(std::span<const std::byte> content);

// The exactly `bytes` bytes that a bare stream gives. Memory grows with what has come out. Throws
// std::runtime_error when the stream is damaged, gives fewer or more bytes, or goes on behind its
// end; std::bad_alloc. Any thread.
[[nodiscard]] std::vector<std::byte> UnpackDeflate(std::span<const std::byte> content,
                                                   std::size_t bytes);

// Whether `content` begins as gzip files do. Any thread.
[[nodiscard]] bool IsGzip(std::span<const std::byte> content);

// The first `bytes` bytes that unpacking gives, fewer where there are not as many. Throws
// std::runtime_error when the file is damaged before. Any thread.
[[nodiscard]] std::vector<std::byte> UnpackGzipStart(std::span<const std::byte> content,
                                                     std::size_t bytes);

// All bytes that unpacking gives, which the caller knows to be between `least` and `most`; else as
// UnpackDeflate. Any thread.
[[nodiscard]] std::vector<std::byte> UnpackGzip(std::span<const std::byte> content,
                                                std::size_t least, std::size_t most);

// Packs a gzip file on as many threads as `threads` says, the caller included; 0: one per core. The
// file is the same for any number of them. Throws what the sink throws and std::bad_alloc. Any
// thread.
void PackGzip(std::span<const std::byte> content, int threads, ByteSink& sink);

}  // namespace vistrel
