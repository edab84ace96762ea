// SPDX-License-Identifier: GPL-3.0-or-later
// Bytes as text (RFC 4648).
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace vistrel {

// Nothing where the text has other characters than base64's, or another length than it needs; the
// "=" at its end may be missing. Throws std::bad_alloc. Any thread.
[[nodiscard]] std::optional<std::vector<std::byte>> BytesOfBase64(std::string_view text);

}  // namespace vistrel
