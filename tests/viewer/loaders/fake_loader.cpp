// SPDX-License-Identifier: GPL-3.0-or-later
// Loader libraries that are good, lack a symbol or speak another interface.
#include <cstdio>

#include "viewer/web_view.h"

// The process that loads the library shows it.
[[maybe_unused]] static const int kLoaded = std::puts("loaded");

extern "C" {

#ifdef WITH_NUMBER
std::uint32_t VistrelWebViewInterfaceNumber() {
    return vistrel::kWebViewInterfaceNumber + WITH_NUMBER;
}
#endif

#ifdef WITH_FACTORY
bool CreateCoreWebView2EnvironmentWithOptions(const std::wstring& /*userDataFolder*/,
                                              const vistrel::WebViewEnvironmentOptions& /*options*/,
                                              vistrel::EnvironmentCreated /*completed*/) {
    std::puts("called");
    return true;
}
#endif
}
