// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/share/byte_size.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <system_error>

namespace vistrel {
namespace {

struct SizeUnit {
    std::string_view name;  // in small letters
    double bytes;
};

constexpr double kKibi = 1024.0;
constexpr std::array kSizeUnits = {
    SizeUnit{"b", 1.0},
    SizeUnit{"kb", 1e3},
    SizeUnit{"mb", 1e6},
    SizeUnit{"gb", 1e9},
    SizeUnit{"kib", kKibi},
    SizeUnit{"mib", kKibi* kKibi},
    SizeUnit{"gib", kKibi* kKibi* kKibi},
};

constexpr double kMostBytes = 1000.0 * kKibi * kKibi * kKibi;

std::string SmallLetters(std::string_view text) {
    std::string small(text);
    for (char& letter : small) {
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    }
    return small;
}

}  // namespace

std::optional<std::uint64_t> ParseByteSize(std::string_view text) {
    double number = 0.0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed);
    if (error != std::errc()) return std::nullopt;
    std::string_view unit = text.substr(static_cast<std::size_t>(end - text.data()));
    if (unit.starts_with(' ')) unit.remove_prefix(1);
    const auto* const found = std::ranges::find(kSizeUnits, SmallLetters(unit), &SizeUnit::name);
    if (found == kSizeUnits.end()) return std::nullopt;
    const double bytes = number * found->bytes;
    if (!(bytes >= 1.0 && bytes <= kMostBytes)) return std::nullopt;
    return static_cast<std::uint64_t>(bytes);
}

std::string ByteSizeText(std::uint64_t bytes) {
    constexpr std::array kNames = {"B", "kB", "MB", "GB", "TB"};
    constexpr std::uint64_t kThousand = 1000;
    std::uint64_t unit = 1;
    std::size_t name = 0;
    while (name + 1 < kNames.size() && bytes / unit >= kThousand) {
        unit *= kThousand;
        ++name;
    }
    const std::uint64_t whole = bytes / unit;
    std::string text = std::to_string(whole);
    if (unit > 1 && whole < 100) {
        const int digits = whole < 10 ? 2 : 1;
        const std::uint64_t hundredths = bytes % unit * 100 / unit;
        text += '.' + std::to_string(hundredths + 100).substr(1, static_cast<std::size_t>(digits));
    }
    return text + ' ' + kNames[name];
}

}  // namespace vistrel
