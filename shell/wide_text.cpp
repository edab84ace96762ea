#include "shell/wide_text.h"

namespace vistrel {

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
