// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/page_path.h"

#include <algorithm>

#include "base/scene_kind.h"
#include "base/text_encoding.h"

namespace vistrel {
namespace {

std::wstring WithSlashes(std::wstring path) {
    std::ranges::replace(path, L'\\', L'/');
    return path;
}

bool IsControl(wchar_t letter) {
    return letter < L' ' || letter == L'\x7f';
}

// A byte that is no text, as base/text_encoding.h has it: 0xDC00 + the byte.
bool IsLoneByte(wchar_t letter) {
    return letter >= 0xDC80 && letter <= 0xDCFF;
}

std::wstring Hex(wchar_t byte) {
    constexpr std::wstring_view kDigits = L"0123456789ABCDEF";
    const auto value = static_cast<std::size_t>(byte) & 0xFFU;
    return {kDigits[value / 16], kDigits[value % 16]};
}

}  // namespace

std::wstring FileAddress(const std::wstring& path) {
    const std::wstring slashed = WithSlashes(path);
    return (slashed.starts_with(L'/') ? L"file://" : L"file:///") + slashed;
}

std::wstring FolderInAddress(const std::wstring& folder) {
    std::wstring encoded;
    for (const wchar_t letter : folder) {
        if (std::wstring_view(L"%?#").find(letter) == std::wstring_view::npos) {
            encoded += letter;
        } else {
            encoded += L'%' + Hex(letter);
        }
    }
    return encoded;
}

std::wstring QueryPath(const std::wstring& path) {
    std::wstring value;
    for (const wchar_t letter : WithSlashes(path)) {
        if (letter == L' ') {
            value += L"%20";
        } else {
            value += letter;
        }
    }
    return value;
}

std::wstring ScriptPath(const std::wstring& path) {
    std::wstring escaped;
    for (const wchar_t letter : WithSlashes(path)) {
        if (letter == L'\'') escaped += L'\\';
        escaped += letter;
    }
    return escaped;
}

bool PageCanBeTold(const std::wstring& path) {
    const auto isLost = [](wchar_t letter) {
        return std::wstring_view(L"#&%+?\\").find(letter) != std::wstring_view::npos ||
               IsControl(letter) || (letter >= 0xD800 && letter <= 0xDFFF);
    };
    const std::filesystem::path file = ToPath(path);
    return std::ranges::none_of(path, isLost) && SmallEnding(file) == file.extension();
}

std::wstring BrowserAddress(std::wstring_view address) {
    std::wstring encoded;
    bool inQuery = false;
    for (const wchar_t letter : address) {
        if (IsLoneByte(letter) || IsControl(letter)) {
            encoded += (inQuery ? L"%25" : L"%") + Hex(letter);
        } else {
            encoded += letter;
        }
        inQuery = inQuery || letter == L'?';
    }
    return encoded;
}

std::wstring BrowserScript(std::wstring_view script) {
    std::wstring encoded;
    for (const wchar_t letter : script) {
        if (IsLoneByte(letter)) {
            encoded += L'%' + Hex(letter);
        } else {
            encoded += letter;
        }
    }
    return encoded;
}

}  // namespace vistrel
