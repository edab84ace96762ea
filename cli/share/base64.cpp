// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/share/base64.h"

#include <algorithm>
#include <string_view>

namespace vistrel {

void AppendBase64(std::span<const std::byte> bytes, std::string& text) {
    constexpr std::string_view kLetters =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    constexpr std::uint32_t kLowSix = 63;
    text.reserve(text.size() + Base64Length(bytes.size()));
    while (!bytes.empty()) {
        const std::size_t taken = std::min<std::size_t>(3, bytes.size());
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            bits = bits << 8U | (i < taken ? std::to_integer<std::uint32_t>(bytes[i]) : 0U);
        }
        for (std::size_t i = 0; i < 4; ++i) {
            text += i <= taken ? kLetters[bits >> (18U - 6U * i) & kLowSix] : '=';
        }
        bytes = bytes.subspan(taken);
    }
}

}  // namespace vistrel
