// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/base64.h"

#include <cstdint>

namespace vistrel {
namespace {

constexpr std::string_view kBase64Digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t kInGroup = 4;

}  // namespace

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
