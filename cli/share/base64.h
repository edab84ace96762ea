// SPDX-License-Identifier: GPL-3.0-or-later
// Bytes as letters, digits, plus and slash, with padding (RFC 4648).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace vistrel {

// How long the text of so many bytes is.
[[nodiscard]] constexpr std::uint64_t Base64Length(std::uint64_t bytes) {
    return (bytes + 2) / 3 * 4;
}

// How many bytes a text of at most this length can hold.
[[nodiscard]] constexpr std::uint64_t Base64Bytes(std::uint64_t length) {
    return length / 4 * 3;
}

// Throws std::bad_alloc. Any thread.
void AppendBase64(std::span<const std::byte> bytes, std::string& text);

}  // namespace vistrel
