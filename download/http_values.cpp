// SPDX-License-Identifier: GPL-3.0-or-later
#include "download/http_values.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace vistrel {
namespace {

char SmallLetter(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

std::string InSmallLetters(std::string_view text) {
    std::string small(text);
    std::ranges::transform(small, small.begin(), SmallLetter);
    return small;
}

// What is before `end`, which goes as well.
std::optional<std::string_view> TakeUntil(std::string_view& text, char end) {
    const std::size_t place = text.find(end);
    if (place == text.npos) return std::nullopt;
    const std::string_view taken = text.substr(0, place);
    text.remove_prefix(place + 1);
    return taken;
}

// Digits alone.
std::optional<int> NumberIn(std::string_view digits) {
    int number = 0;
    for (const char digit : digits) {
        if (digit < '0' || digit > '9') return std::nullopt;
        number = number * 10 + (digit - '0');
    }
    return number;
}

// "Sun, 06 Nov 1994 08:49:37 GMT"
std::optional<std::chrono::sys_seconds> ParseDate(std::string_view text) {
    constexpr std::string_view kPattern = "Sun, 06 Nov 1994 08:49:37 GMT";
    constexpr std::array<std::string_view, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    if (text.size() != kPattern.size() || !text.ends_with(" GMT")) return std::nullopt;
    constexpr std::array<std::size_t, 7> kMarks = {3, 4, 7, 11, 16, 19, 22};
    for (const std::size_t mark : kMarks) {
        if (text[mark] != kPattern[mark]) return std::nullopt;
    }
    const auto* const month = std::ranges::find(kMonths, text.substr(8, 3));
    const auto day = NumberIn(text.substr(5, 2));
    const auto year = NumberIn(text.substr(12, 4));
    const auto hour = NumberIn(text.substr(17, 2));
    const auto minute = NumberIn(text.substr(20, 2));
    const auto second = NumberIn(text.substr(23, 2));
    if (month == kMonths.end() || !day || !year || !hour || !minute || !second) return std::nullopt;
    const std::chrono::year_month_day date(
        std::chrono::year(*year),
        std::chrono::month(static_cast<unsigned>(month - kMonths.begin()) + 1),
        std::chrono::day(static_cast<unsigned>(*day)));
    if (!date.ok() || *hour > 23 || *minute > 59 || *second > 60) return std::nullopt;
    return std::chrono::sys_days(date) + std::chrono::hours(*hour) + std::chrono::minutes(*minute) +
           std::chrono::seconds(*second);
}

}  // namespace

std::optional<std::int64_t> ParseByteCount(std::string_view text) {
    if (text.empty() || text.front() == '-') return std::nullopt;
    std::int64_t count = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), count);
    if (failure != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return count;
}

std::optional<ContentRange> ParseContentRange(std::string_view text) {
    const auto unit = TakeUntil(text, ' ');
    if (!unit || InSmallLetters(*unit) != "bytes") return std::nullopt;
    const auto first = TakeUntil(text, '-');
    const auto last = TakeUntil(text, '/');
    if (!first || !last) return std::nullopt;
    const auto from = ParseByteCount(*first);
    const auto to = ParseByteCount(*last);
    const auto total = ParseByteCount(text);
    if (!from || !to || (!total && text != "*")) return std::nullopt;
    if (*from > *to || (total && *to >= *total)) return std::nullopt;
    return ContentRange{*from, *to, total};
}

std::optional<std::chrono::seconds> ParseRetryAfter(std::string_view text,
                                                    std::chrono::system_clock::time_point now) {
    if (const auto seconds = ParseByteCount(text)) return std::chrono::seconds(*seconds);
    const auto date = ParseDate(text);
    if (!date) return std::nullopt;
    const auto pause = *date - std::chrono::floor<std::chrono::seconds>(now);
    return std::max(pause, std::chrono::seconds(0));
}

std::string StrongEtag(std::string_view text) {
    if (text.size() < 2 || text.front() != '"' || text.back() != '"') return {};
    const std::string_view inside = text.substr(1, text.size() - 2);
    const bool isPlain = std::ranges::all_of(
        inside, [](char letter) { return letter > ' ' && letter <= '~' && letter != '"'; });
    return isPlain ? std::string(text) : std::string();
}

std::string Sha256InEtag(std::string_view text) {
    constexpr std::size_t kDigits = 64;
    std::string digits = StrongEtag(text).empty() ? InSmallLetters(text)
                                                  : InSmallLetters(text.substr(1, text.size() - 2));
    constexpr std::string_view kHexadecimal = "0123456789abcdef";
    const bool isDigest =
        digits.size() == kDigits && digits.find_first_not_of(kHexadecimal) == digits.npos;
    return isDigest ? digits : std::string();
}

std::string OriginOf(std::string_view url) {
    const std::size_t scheme = url.find("://");
    if (scheme == url.npos) return {};
    return InSmallLetters(url.substr(0, url.find('/', scheme + 3)));
}

}  // namespace vistrel
