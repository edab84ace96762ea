// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/web_view_loader.h"

#include <dlfcn.h>

#include <string>

#include "base/log.h"
#include "base/text_encoding.h"

namespace vistrel {
namespace {

constexpr const char* kLibrary = "WebView2Loader.dll";
constexpr const char* kNumberSymbol = "VistrelWebViewInterfaceNumber";
constexpr const char* kFactorySymbol = "CreateCoreWebView2EnvironmentWithOptions";

template <typename Function>
Function* FindFunction(void* library, const char* name) {
    return reinterpret_cast<Function*>(dlsym(library, name));
}

// A library that is refused stays loaded: not every browser survives being unloaded.
CreateWebViewEnvironmentFunction* Refuse(const std::string& reason) {
    LogInfoWide(L"  " + FromUtf8(kLibrary) + L" cannot be used: " + FromUtf8(reason));
    return nullptr;
}

CreateWebViewEnvironmentFunction* Resolve() {
    // A library that is loaded already is found by its name as well.
    void* const library = dlopen(kLibrary, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        const char* const reason = dlerror();
        return Refuse(reason == nullptr ? "unknown" : reason);
    }
    auto* const number = FindFunction<WebViewInterfaceNumberFunction>(library, kNumberSymbol);
    auto* const factory = FindFunction<CreateWebViewEnvironmentFunction>(library, kFactorySymbol);
    if (number == nullptr || factory == nullptr) return Refuse("a function is missing");
    if (number() != kWebViewInterfaceNumber) return Refuse("it is of another version");
    return factory;
}

}  // namespace

CreateWebViewEnvironmentFunction* LoadWebViewFactory() {
    static CreateWebViewEnvironmentFunction* factory = nullptr;
    if (factory == nullptr) factory = Resolve();
    return factory;
}

}  // namespace vistrel
