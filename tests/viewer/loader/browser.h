// SPDX-License-Identifier: GPL-3.0-or-later
// The browser of the loader library in a window of a test's own.
#pragma once

#include <QImage>
#include <QWidget>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "viewer/web_view.h"

namespace vistrel::test {

struct LoaderLibrary {
    CreateWebViewEnvironmentFunction* createEnvironment = nullptr;
    WebViewInterfaceNumberFunction* interfaceNumber = nullptr;
};

// Opens the built library by its plain name, as the program does. Throws std::runtime_error.
const LoaderLibrary& Loader();

// What the program hands to the loader library.
WebViewEnvironmentOptions ProgramsOptions();

// Waits for what the loader library makes; null when that fails or takes too long.
std::unique_ptr<WebViewEnvironment> MakeEnvironment(const std::filesystem::path& userDataFolder);
std::unique_ptr<WebViewController> MakeController(WebViewEnvironment& environment, QWidget& host);

// A shown window that a browser fills.
class Browser {
  public:
    static constexpr int kWidth = 200;
    static constexpr int kHeight = 150;

    // Throws std::runtime_error when there is no browser.
    explicit Browser(const std::filesystem::path& userDataFolder);

    QWidget& Window() { return window_; }
    WebViewController& Controller() { return *controller_; }
    WebView& View() { return controller_->View(); }

    // Waits until the address is shown, or until that has failed.
    bool Open(const std::wstring& url);
    // Opens a file of the disk; `query` comes behind its name.
    bool OpenFile(const std::filesystem::path& file, std::wstring_view query = {});
    // The script's result as JSON. Throws std::runtime_error when there is none.
    std::wstring Run(const std::wstring& script);
    // Waits until the script's result is this JSON text.
    bool Becomes(const std::wstring& script, std::wstring_view json);
    // Null when no picture could be taken.
    QImage Capture();

    // The browser's widget inside the window.
    QWidget* Widget();
    // Destroys the browser, keeps the window.
    void End();

    std::vector<bool> navigations;  // whether each could be shown
    std::vector<std::wstring> console;
    std::vector<std::wstring> failures;

  private:
    QWidget window_;
    std::unique_ptr<WebViewEnvironment> environment_;
    std::unique_ptr<WebViewController> controller_;
};

}  // namespace vistrel::test
