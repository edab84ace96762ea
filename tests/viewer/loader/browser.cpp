// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/viewer/loader/browser.h"

#include <dlfcn.h>

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <utility>

#include "base/text_encoding.h"
#include "tests/support/wait_until.h"
#include "viewer/page_path.h"

namespace vistrel::test {
namespace {

template <typename Function>
Function* Entry(void* library, const char* name) {
    void* const entry = dlsym(library, name);
    if (entry == nullptr) throw std::runtime_error(dlerror());
    return reinterpret_cast<Function*>(entry);
}

}  // namespace

const LoaderLibrary& Loader() {
    static const LoaderLibrary loader = [] {
        void* const library = dlopen("WebView2Loader.dll", RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr) throw std::runtime_error(dlerror());
        return LoaderLibrary{
            Entry<CreateWebViewEnvironmentFunction>(library,
                                                    "CreateCoreWebView2EnvironmentWithOptions"),
            Entry<WebViewInterfaceNumberFunction>(library, "VistrelWebViewInterfaceNumber")};
    }();
    return loader;
}

WebViewEnvironmentOptions ProgramsOptions() {
    return {
        L"--allow-file-access-from-files --disable-web-security --allow-running-insecure-content",
        L"124.0.2478.35"};
}

std::unique_ptr<WebViewEnvironment> MakeEnvironment(const std::filesystem::path& userDataFolder) {
    std::optional<std::unique_ptr<WebViewEnvironment>> made;
    const bool started = Loader().createEnvironment(
        FromPath(userDataFolder), ProgramsOptions(),
        [&](std::unique_ptr<WebViewEnvironment> environment) { made = std::move(environment); });
    if (!started || !WaitUntil([&] { return made.has_value(); })) return nullptr;
    return std::move(*made);
}

std::unique_ptr<WebViewController> MakeController(WebViewEnvironment& environment, QWidget& host) {
    std::optional<std::unique_ptr<WebViewController>> made;
    environment.CreateController(
        host, [&](std::unique_ptr<WebViewController> controller) { made = std::move(controller); });
    if (!WaitUntil([&] { return made.has_value(); })) return nullptr;
    return std::move(*made);
}

Browser::Browser(const std::filesystem::path& userDataFolder) {
    window_.resize(kWidth, kHeight);
    window_.show();
    environment_ = MakeEnvironment(userDataFolder);
    if (!environment_) throw std::runtime_error("there is no browser environment");
    controller_ = MakeController(*environment_, window_);
    if (!controller_) throw std::runtime_error("there is no browser");
    controller_->SetBounds(window_.rect());
    View().Settings().SetDefaultScriptDialogsEnabled(false);
    View().SetNavigationCompletedHandler([this](bool success) { navigations.push_back(success); });
    View().SetConsoleMessageHandler([this](const std::wstring& text) { console.push_back(text); });
    View().SetProcessFailedHandler(
        [this](const std::wstring& reason) { failures.push_back(reason); });
}

bool Browser::Open(const std::wstring& url) {
    const std::size_t before = navigations.size();
    View().Navigate(BrowserAddress(url));
    return WaitUntil([&] { return navigations.size() > before; }) && navigations.back();
}

bool Browser::OpenFile(const std::filesystem::path& file, std::wstring_view query) {
    return Open(L"file://" + FromPath(file) + std::wstring(query));
}

std::wstring Browser::Run(const std::wstring& script) {
    std::optional<std::wstring> json;
    bool succeeded = false;
    View().ExecuteScript(script, [&](bool success, const std::wstring& result) {
        succeeded = success;
        json = result;
    });
    if (!WaitUntil([&] { return json.has_value(); })) {
        throw std::runtime_error("the script does not answer");
    }
    if (!succeeded) throw std::runtime_error("the script was not run");
    return *json;
}

bool Browser::Becomes(const std::wstring& script, std::wstring_view json) {
    return WaitUntil([&] { return Run(script) == json; });
}

QImage Browser::Capture() {
    std::optional<QImage> picture;
    View().CapturePreview([&](bool success, const std::vector<std::byte>& png) {
        picture = success ? QImage::fromData(reinterpret_cast<const uchar*>(png.data()),
                                             static_cast<int>(png.size()), "PNG")
                          : QImage();
    });
    if (!WaitUntil([&] { return picture.has_value(); })) {
        throw std::runtime_error("the capture does not end");
    }
    return *picture;
}

QWidget* Browser::Widget() {
    const auto children = window_.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly);
    return children.isEmpty() ? nullptr : children.first();
}

void Browser::End() {
    controller_.reset();
    environment_.reset();
}

}  // namespace vistrel::test
