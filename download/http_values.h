// SPDX-License-Identifier: GPL-3.0-or-later
// What the headers of answers say. Any thread; nothing throws but std::bad_alloc.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vistrel {

// A number of bytes; nothing where the text is another or does not fit.
[[nodiscard]] std::optional<std::int64_t> ParseByteCount(std::string_view text);

// "bytes FIRST-LAST/TOTAL", FIRST <= LAST < TOTAL.
struct ContentRange {
    std::int64_t first = 0;
    std::int64_t last = 0;
    std::optional<std::int64_t> total{};  // nothing: "*"

    bool operator==(const ContentRange&) const = default;
};
[[nodiscard]] std::optional<ContentRange> ParseContentRange(std::string_view text);

// A number of seconds, or a date as HTTP writes it today ("Sun, 06 Nov 1994 08:49:37 GMT"); one
// that has passed is no time.
[[nodiscard]] std::optional<std::chrono::seconds> ParseRetryAfter(
    std::string_view text, std::chrono::system_clock::time_point now);

// An entity tag with its quotation marks, as If-Range takes it. Empty: there is none, or it is
// weak, so that two files of the same tag may differ.
[[nodiscard]] std::string StrongEtag(std::string_view text);

// The hub's tag of a large file is its SHA-256: 64 hexadecimal digits, in small letters here. Empty
// for any other.
[[nodiscard]] std::string Sha256InEtag(std::string_view text);

// Scheme, host and port, as they stand: "https://HOST:PORT", in small letters.
[[nodiscard]] std::string OriginOf(std::string_view url);

}  // namespace vistrel
