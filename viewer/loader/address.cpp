// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/loader/address.h"

#include <QByteArray>
#include <QString>
#include <array>
#include <cctype>
#include <cstddef>

namespace vistrel::loader {
namespace {

bool IsHexDigit(wchar_t character) {
    return character < 0x80 && std::isxdigit(character) != 0;
}

// The browser keeps a "%" that encodes nothing, Qt's addresses do not.
bool IsLonePercent(std::wstring_view text, std::size_t at) {
    return text[at] == L'%' &&
           !(at + 2 < text.size() && IsHexDigit(text[at + 1]) && IsHexDigit(text[at + 2]));
}

QByteArray Utf8(wchar_t character) {
    const std::array<char32_t, 1> code = {static_cast<char32_t>(character)};
    return QString::fromUcs4(code.data(), 1).toUtf8();
}

}  // namespace

QUrl AddressOf(std::wstring_view text) {
    // Nothing is left for Qt to encode, so what it parses is what it hands on.
    constexpr std::string_view kEncoded = " \"<>\\^`{|}\x7F";
    QByteArray address;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const wchar_t character = text[i];
        if (IsLonePercent(text, i)) {
            address += "%25";
        } else if (character >= 0x20 && character < 0x80 &&
                   kEncoded.find(static_cast<char>(character)) == std::string_view::npos) {
            address += static_cast<char>(character);
        } else {
            address += Utf8(character).toPercentEncoding();
        }
    }
    return QUrl::fromEncoded(address);
}

bool IsLocal(const QUrl& url) {
    const QString scheme = url.scheme();
    if (scheme == u"file") return url.host().isEmpty() || url.host() == u"localhost";
    return scheme == u"data" || scheme == u"blob" || scheme == u"about";
}

}  // namespace vistrel::loader
