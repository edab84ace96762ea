// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/wide_text.h"

namespace vistrel {

// Qt's own conversion takes U+FEFF at the start for a byte order mark and drops it.
QString FromWide(std::wstring_view text) {
    QString units;
    units.reserve(static_cast<qsizetype>(text.size()));
    for (const wchar_t character : text) {
        const auto code = static_cast<char32_t>(character);
        units += code > QChar::LastValidCodePoint ? QStringView(u"\uFFFD") : QChar::fromUcs4(code);
    }
    return units;
}

// Qt's own conversion turns the lone codes into U+FFFD.
std::wstring ToWide(const QString& text) {
    std::wstring wide;
    wide.reserve(static_cast<std::size_t>(text.size()));
    const qsizetype size = text.size();
    for (qsizetype i = 0; i < size; ++i) {
        const QChar unit = text[i];
        const bool pair = unit.isHighSurrogate() && i + 1 < size && text[i + 1].isLowSurrogate();
        wide += static_cast<wchar_t>(pair ? QChar::surrogateToUcs4(unit, text[i + 1])
                                          : char32_t{unit.unicode()});
        if (pair) ++i;
    }
    return wide;
}

}  // namespace vistrel
