// SPDX-License-Identifier: GPL-3.0-or-later
// Bytes as text (RFC 4648).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vistrel {

// How long the text of so many bytes is, and how many bytes a text of at most this length can hold.
[[nodiscard]] constexpr std::uint64_t Base64Length(std::uint64_t bytes) {
    return (bytes + 2) / 3 * 4;
}
[[nodiscard]] constexpr std::uint64_t Base64Bytes(std::uint64_t length) {
    return length / 4 * 3;
}

// With padding. Throws std::bad_alloc. Any thread.
void AppendBase64(std::span<const std::byte> bytes, std::string& text);

// Nothing where the text has other characters than base64's, or another length than it needs; the
// "=" at its end may be missing. Throws std::bad_alloc. Any thread.
[[nodiscard]] std::optional<std::vector<std::byte>> BytesOfBase64(std::string_view text);

}  // namespace vistrel
