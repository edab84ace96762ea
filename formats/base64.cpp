// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/base64.h"

#include <algorithm>

namespace vistrel {
namespace {

constexpr std::string_view kBase64Digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t kInGroup = 4;

}  // namespace

void AppendBase64(std::span<const std::byte> bytes, std::string& text) {
    constexpr std::uint32_t kLowSix = 63;
    text.reserve(text.size() + Base64Length(bytes.size()));
    while (!bytes.empty()) {
        const std::size_t taken = std::min<std::size_t>(3, bytes.size());
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            bits = bits << 8U | (i < taken ? std::to_integer<std::uint32_t>(bytes[i]) : 0U);
        }
        for (std::size_t i = 0; i < kInGroup; ++i) {
            text += i <= taken ? kBase64Digits[bits >> (18U - 6U * i) & kLowSix] : '=';
        }
        bytes = bytes.subspan(taken);
    }
}

std::optional<std::vector<std::byte>> BytesOfBase64(std::string_view text) {
    if (text.size() % kInGroup == 0) {
        for (int i = 0; i < 2 && text.ends_with('='); ++i) text.remove_suffix(1);
    }
    if (text.size() % kInGroup == 1) return {};
    std::vector<std::byte> bytes;
    bytes.reserve(text.size() * 3 / kInGroup);
    std::uint32_t bits = 0;
    int known = 0;
    for (const char c : text) {
        const std::size_t digit = kBase64Digits.find(c);
        if (digit == kBase64Digits.npos) return {};
        bits = bits << 6 | static_cast<std::uint32_t>(digit);
        known += 6;
        if (known < 8) continue;
        known -= 8;
        bytes.push_back(static_cast<std::byte>(bits >> known));
    }
    return bytes;
}

}  // namespace vistrel
