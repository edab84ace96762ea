// SPDX-License-Identifier: GPL-3.0-or-later
// Wide strings as texts of Qt, and back, without loss. Codes that stand for bytes of file names
// (base/text_encoding.h) are kept, one unit each. Any thread.
#pragma once

#include <QString>
#include <string>
#include <string_view>

namespace vistrel {

[[nodiscard]] QString FromWide(std::wstring_view text);

[[nodiscard]] std::wstring ToWide(const QString& text);

}  // namespace vistrel
