// Where the browser keeps what pages store.
#pragma once

#include <string>

namespace vistrel {

// Vistrel/WebView2 in the user's data folder ($XDG_DATA_HOME, default ~/.local/share), which is
// made where it is missing; whether that worked, the browser finds out. Empty when the user has no
// such folder. Any thread; nothing throws.
[[nodiscard]] std::wstring MakeUserDataFolder();

}  // namespace vistrel
