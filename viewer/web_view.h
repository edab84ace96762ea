// SPDX-License-Identifier: GPL-3.0-or-later
// The embedded browser as WebViewBridge sees it: environment, controller, web view, settings.
//
// The loader library WebView2Loader.dll implements these classes and exports the two C functions at
// the end; nothing else knows which browser stands behind them. Everything here belongs to the
// thread of the event loop. A completion callback arrives later through that loop, never from
// inside the call that it was given to, and not at all once the object it was given to is
// destroyed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class QRect;
class QWidget;

namespace vistrel {

class WebViewSettings {
  public:
    virtual ~WebViewSettings() = default;
    virtual void SetScriptEnabled(bool enabled) = 0;
    // Whether alert, confirm and prompt of a page show a dialog.
    virtual void SetDefaultScriptDialogsEnabled(bool enabled) = 0;
    virtual void SetStatusBarEnabled(bool enabled) = 0;
    virtual void SetWebMessageEnabled(bool enabled) = 0;
};

class WebView {
  public:
    // Whether the page's address could be shown.
    using NavigationCompleted = std::function<void(bool success)>;
    // `result` is the script's value as JSON, "null" where it has none.
    using ScriptCompleted = std::function<void(bool success, const std::wstring& result)>;
    // The visible pixels as the bytes of a PNG file.
    using CaptureCompleted = std::function<void(bool success, const std::vector<std::byte>& png)>;
    // A helper process of the browser ended; the text says how.
    using ProcessFailed = std::function<void(const std::wstring& reason)>;
    // What the page wrote to its console, and every uncaught error of its scripts.
    using ConsoleMessage = std::function<void(const std::wstring& text)>;

    virtual ~WebView() = default;
    virtual WebViewSettings& Settings() = 0;
    // Addresses and scripts are whole characters; what no address can hold is encoded here.
    virtual void Navigate(const std::wstring& url) = 0;
    virtual void ExecuteScript(const std::wstring& script, ScriptCompleted completed) = 0;
    // At device pixels, with everything drawn that the page had drawn before the call. A view that
    // is hidden meanwhile gives what it shows then.
    virtual void CapturePreview(CaptureCompleted completed) = 0;
    // Each replaces the handler set before; an empty one removes it.
    virtual void SetNavigationCompletedHandler(NavigationCompleted handler) = 0;
    virtual void SetProcessFailedHandler(ProcessFailed handler) = 0;
    virtual void SetConsoleMessageHandler(ConsoleMessage handler) = 0;
};

// One browser in one host window; its web view lives as long as it does. Its end lets the page
// finish what it is at, for a second at most, in which the event loop runs without the user's
// input.
class WebViewController {
  public:
    virtual ~WebViewController() = default;
    virtual WebView& View() = 0;
    // In coordinates of the host window.
    virtual void SetBounds(const QRect& bounds) = 0;
    virtual void SetVisible(bool visible) = 0;
};

class WebViewEnvironment {
  public:
    // Null when the browser could not be made.
    using ControllerCreated = std::function<void(std::unique_ptr<WebViewController> controller)>;

    virtual ~WebViewEnvironment() = default;
    // `host` outlives the controller.
    virtual void CreateController(QWidget& host, ControllerCreated completed) = 0;
};

struct WebViewEnvironmentOptions {
    std::wstring additionalBrowserArguments;  // command line switches, separated by blanks
    std::wstring targetCompatibleBrowserVersion;
};

// Null when there is no browser to be had.
using EnvironmentCreated = std::function<void(std::unique_ptr<WebViewEnvironment> environment)>;

// The number of this interface; a loader library with another one is not used.
inline constexpr std::uint32_t kWebViewInterfaceNumber = 3;

extern "C" {
// Exported as "VistrelWebViewInterfaceNumber".
using WebViewInterfaceNumberFunction = std::uint32_t();
// Exported as "CreateCoreWebView2EnvironmentWithOptions". An empty `userDataFolder` is the
// browser's default. Returns whether the creation was started; only then `completed` is called.
using CreateWebViewEnvironmentFunction = bool(const std::wstring& userDataFolder,
                                              const WebViewEnvironmentOptions& options,
                                              EnvironmentCreated completed);
}

}  // namespace vistrel
