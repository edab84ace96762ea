// Wide strings as texts of Qt, for showing them.
#pragma once

#include <QString>
#include <string_view>

namespace vistrel {

// Codes that stand for bytes of file names are kept, one unit each.
[[nodiscard]] inline QString FromWide(std::wstring_view text) {
    return QString::fromWCharArray(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace vistrel
