// SPDX-License-Identifier: GPL-3.0-or-later
// Wide strings and the bytes outside: file names, UTF-8 texts, standard output.
//
// The conversions lose nothing and never throw on bad input. A byte that is no part of valid UTF-8
// becomes the lone code U+DC80..U+DCFF (0xDC00 + byte) and turns back into that byte, so every file
// name can be shown, stored and opened again. All functions may be called from any thread.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace vistrel {

// Bytes that should be UTF-8, as one wide character per code point.
[[nodiscard]] std::wstring FromUtf8(std::string_view bytes);

// The inverse of FromUtf8. A value that no UTF-8 text can hold (a surrogate outside
// U+DC80..U+DCFF, or anything above U+10FFFF) becomes U+FFFD.
[[nodiscard]] std::string ToUtf8(std::wstring_view text);

// File names, byte for byte: ToPath(FromPath(p)) gives back p, and FromPath(ToPath(x)) what came
// from a file name.
[[nodiscard]] std::filesystem::path ToPath(std::wstring_view text);
[[nodiscard]] std::wstring FromPath(const std::filesystem::path& path);

}  // namespace vistrel
