// Addresses of pages: from the text that the program sends to the form that the browser takes.
#pragma once

#include <QUrl>
#include <string>
#include <string_view>

namespace vistrel::loader {

// `text` is taken as it stands; only what no address can hold is percent-encoded. A byte of a file
// name that is no UTF-8 (U+DC80..U+DCFF) and a control character are encoded twice behind the "?",
// so that they stand encoded in the value that the page reads there, which it uses as an address.
[[nodiscard]] QUrl AddressOf(std::wstring_view text);

// Whether what stands at the address is on this machine or in the address itself.
[[nodiscard]] bool IsLocal(const QUrl& url);

// A script has the same trouble with such bytes; in its strings they become "%XX".
[[nodiscard]] std::wstring WithEncodedBytes(std::wstring_view script);

}  // namespace vistrel::loader
