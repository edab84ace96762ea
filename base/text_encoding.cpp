// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/text_encoding.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace vistrel {
namespace {

constexpr char32_t kEscapeBase = 0xDC00;
constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kLastCodePoint = 0x10FFFF;

constexpr bool IsSurrogate(char32_t code) {
    return code >= 0xD800 && code <= 0xDFFF;
}
constexpr bool IsEscapedByte(char32_t code) {
    return code >= 0xDC80 && code <= 0xDCFF;
}

struct Sequence {
    char32_t code = 0;
    std::size_t length = 0;  // bytes taken; 0 when no valid sequence starts here
};

// Decodes the sequence at the start of `bytes` by the rules of RFC 3629: shortest form only, no
// surrogates, nothing above U+10FFFF.
Sequence DecodeOne(std::string_view bytes) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80) return {lead, 1};

    std::size_t length = 0;
    char32_t code = 0;
    if ((lead & 0xE0U) == 0xC0U) {
        length = 2;
        code = lead & 0x1FU;
    } else if ((lead & 0xF0U) == 0xE0U) {
        length = 3;
        code = lead & 0x0FU;
    } else if ((lead & 0xF8U) == 0xF0U) {
        length = 4;
        code = lead & 0x07U;
    }
    if (length == 0 || length > bytes.size()) return {};
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80U) return {};
        code = (code << 6U) | (byte(i) & 0x3FU);
    }
    constexpr std::array<char32_t, 5> kSmallest = {0, 0, 0x80, 0x800, 0x10000};
    if (code < kSmallest[length] || code > kLastCodePoint || IsSurrogate(code)) return {};
    return {code, length};
}

void AppendUtf8(std::string& out, char32_t code) {
    const auto put = [&](char32_t value) { out.push_back(static_cast<char>(value)); };
    if (code < 0x80) {
        put(code);
    } else if (code < 0x800) {
        put(0xC0U | (code >> 6U));
        put(0x80U | (code & 0x3FU));
    } else if (code < 0x10000) {
        put(0xE0U | (code >> 12U));
        put(0x80U | ((code >> 6U) & 0x3FU));
        put(0x80U | (code & 0x3FU));
    } else {
        put(0xF0U | (code >> 18U));
        put(0x80U | ((code >> 12U) & 0x3FU));
        put(0x80U | ((code >> 6U) & 0x3FU));
        put(0x80U | (code & 0x3FU));
    }
}

}  // namespace

std::wstring FromUtf8(std::string_view bytes) {
    std::wstring text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        Sequence next = DecodeOne(bytes);
        if (next.length == 0) {
            next = {kEscapeBase + static_cast<unsigned char>(bytes.front()), 1};
        }
        text.push_back(static_cast<wchar_t>(next.code));
        bytes.remove_prefix(next.length);
    }
    return text;
}

std::string ToUtf8(std::wstring_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (const wchar_t character : text) {
        const auto code = static_cast<char32_t>(character);
        if (IsEscapedByte(code)) {
            bytes.push_back(static_cast<char>(code - kEscapeBase));
        } else if (IsSurrogate(code) || code > kLastCodePoint) {
            AppendUtf8(bytes, kReplacement);
        } else {
            AppendUtf8(bytes, code);
        }
    }
    return bytes;
}

std::filesystem::path ToPath(std::wstring_view text) {
    return {ToUtf8(text)};
}

std::wstring FromPath(const std::filesystem::path& path) {
    return FromUtf8(path.native());
}

}  // namespace vistrel
