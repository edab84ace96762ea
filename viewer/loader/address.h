// SPDX-License-Identifier: GPL-3.0-or-later
// Addresses of pages: from the text that the program sends to the form that the browser takes.
#pragma once

#include <QUrl>
#include <string_view>

namespace vistrel::loader {

// `text` is taken as it stands; only what no address can hold is percent-encoded.
[[nodiscard]] QUrl AddressOf(std::wstring_view text);

// Whether what stands at the address is on this machine or in the address itself.
[[nodiscard]] bool IsLocal(const QUrl& url);

}  // namespace vistrel::loader
