// SPDX-License-Identifier: GPL-3.0-or-later
// Any bytes as a file name, and any numbers as characters of a wide text: nothing is lost on the
// way to a wide text and to a text of the window and back, and what is UTF-8 is read as it is
// meant.
#include <QString>
#include <QStringDecoder>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "base/text_encoding.h"
#include "tests/fuzz/require.h"
#include "tests/fuzz/seeded_mutation.h"
#include "ui/wide_text.h"

namespace vistrel {
namespace {

using fuzz::Require;

bool IsSurrogate(wchar_t character) {
    return character >= 0xD800 && character <= 0xDFFF;
}
bool IsByte(wchar_t character) {
    return character >= 0xDC80 && character <= 0xDCFF;
}
bool IsPossible(wchar_t character) {
    return character >= 0 && character <= 0x10FFFF && !IsSurrogate(character);
}

void RequireNothingLost(std::string_view bytes) {
    const std::wstring wide = FromUtf8(bytes);
    Require(std::ranges::all_of(wide, [](wchar_t c) { return IsPossible(c) || IsByte(c); }));
    Require(ToUtf8(wide) == bytes);
    Require(FromPath(ToPath(wide)) == wide);
    Require(ToWide(FromWide(wide)) == wide);

    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless |
                                                     QStringDecoder::Flag::ConvertInitialBom);
    const QString plain =
        decoder(QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())));
    const bool valid = std::ranges::none_of(wide, IsByte);
    Require(valid != decoder.hasError());
    if (valid) Require(FromWide(wide) == plain);
}

void RequireReplaced(const std::wstring& wide) {
    std::wstring expected = wide;
    std::ranges::replace_if(
        expected, [](wchar_t c) { return !IsPossible(c) && !IsByte(c); }, L'\xFFFD');
    const std::string bytes = ToUtf8(wide);
    Require(bytes == ToUtf8(expected));
    if (std::ranges::none_of(expected, IsByte)) Require(FromUtf8(bytes) == expected);
}

}  // namespace
}  // namespace vistrel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    vistrel::RequireNothingLost({reinterpret_cast<const char*>(bytes), size});
    std::wstring wide(size / sizeof(wchar_t), L'\0');
    if (!wide.empty()) std::memcpy(wide.data(), bytes, wide.size() * sizeof(wchar_t));
    vistrel::RequireReplaced(wide);
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned int seed) {
    static const std::vector<std::string> seeds = {
        "a\xC3\xA9\xE3\x83\xA2\xF0\x9F\x98\x80", "\xEF\xBB\xBF\xEF\xBB\xBF",
        "\xEF\xBF\xBF\xEF\xBF\xBE\xF4\x8F\xBF\xBF", "\xED\xA0\x80\xED\xB2\x80\xC1\x80\x80"};
    return vistrel::fuzz::MutateSeeded(seeds, data, size, most, seed);
}
