// SPDX-License-Identifier: GPL-3.0-or-later
// Sizes of files as people write them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vistrel {

inline constexpr const char* kByteSizeUnits = "B, kB, MB, GB, KiB, MiB or GiB";

// Reads a number, also a broken one, and one of the units in small or large letters, with or
// without a blank between them. kB, MB and GB are thousands, KiB, MiB and GiB go by 1024. Cut to
// whole bytes; nothing for anything else, for less than a byte and for more than 1000 GiB. Any
// thread, like the next.
[[nodiscard]] std::optional<std::uint64_t> ParseByteSize(std::string_view text);

// "9.98 MB": three digits, cut, not rounded, so that it never tells of more bytes than there are.
[[nodiscard]] std::string ByteSizeText(std::uint64_t bytes);

}  // namespace vistrel
