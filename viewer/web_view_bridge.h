// SPDX-License-Identifier: GPL-3.0-or-later
// The browser view inside the window, and all that the program says to the page in it.
//
// Everything here belongs to the thread of the event loop. Nothing throws. Calls that the view
// cannot take yet are dropped in silence, but for one scene file, which waits.
#pragma once

#include <QPointer>
#include <QWidget>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "viewer/web_view.h"

class QRect;

namespace vistrel {

// Makes the browser environment: the function that the loader library exports, or a double of it.
using EnvironmentFactory = std::function<CreateWebViewEnvironmentFunction>;

class WebViewBridge {
  public:
    using ReadyCallback = std::function<void(bool ready)>;

    // `loaderMissingText` is what the message box says when there is no loader library.
    // `factory` takes the place of the loader library's; empty: the library is loaded.
    explicit WebViewBridge(std::wstring loaderMissingText, EnvironmentFactory factory = {});
    // To be destroyed before the parent of the host window. May be called from any callback. Takes
    // as long as the controller's end.
    ~WebViewBridge();
    WebViewBridge(const WebViewBridge&) = delete;
    WebViewBridge& operator=(const WebViewBridge&) = delete;

    // What is to be heard of the page; each may be empty. Failures are in the log, too.

    // A page is there and takes calls, also one that was loaded again by itself.
    std::function<void()> onPageLoaded;
    // The page cannot show the scene.
    std::function<void(const std::wstring& reason)> onSceneFailed;
    // A helper process of the browser ended. The view stays black until the next scene is shown.
    std::function<void(const std::wstring& reason)> onProcessFailed;
    // A picture was not saved.
    std::function<void(const std::wstring& reason)> onCaptureFailed;

    // Makes the host window in `parent` at `bounds` (the parent's coordinates). Best before the
    // parent is shown, which else vanishes and comes back when the browser joins it. What was made
    // before is given up.
    void Prepare(QWidget* parent, const QRect& bounds);
    // Starts making the browser in the host window, which then shows the page in `tempFolder`.
    // Returns whether that could be started. `onReady` hears once whether the view is there, in
    // case of a failure possibly from inside this call. Once for each host window.
    bool Initialize(const std::wstring& tempFolder, ReadyCallback onReady);

    // Null until the view is ready.
    [[nodiscard]] WebView* View() const;

    // Moves the host window (coordinates of the parent) and the browser, which fills it.
    void SetBounds(const QRect& bounds);
    // Shows or hides the browser and its host window together.
    void SetVisible(bool visible);

    // Opens a splat file in the page: at once, or when the page is there. SHARP is for scenes made
    // by the engine, General for all others.
    void ShowScene(const std::wstring& path, bool sharp);

    // Runs a script in the page; nobody hears how it went.
    void ExecJS(const std::wstring& script);
    // `mode` is the number of a StereoMode; not checked.
    void SetStereoMode(int mode);
    // Positions of the two sliders: -100 to 100 and 0 to 200.
    void SetFocusDepth(double focus, double depth);
    void SetSwapEyes(bool swap);

    // Writes what the view shows to a PNG file, after the call has returned. `owner` is not used.
    // Failures leave no half file.
    void CaptureImage(QWidget* owner, const std::wstring& path);
    // Returns when every picture is saved that was asked for; what the display does not show in
    // time is saved as it is and hides the view. Two seconds at most, in which the event loop runs
    // without the user's input and the bridge is not to be destroyed.
    void FinishCaptures();

    [[nodiscard]] std::wstring BuildViewerUrl(const std::wstring& path, bool sharp) const;

  private:
    void Release();
    [[nodiscard]] EnvironmentFactory FindFactory(QWidget* owner) const;
    void OnEnvironment(std::unique_ptr<WebViewEnvironment> environment, const ReadyCallback& ready);
    void CreateControllerFromEnv(WebViewEnvironment& environment, const ReadyCallback& ready);
    void OnController(std::unique_ptr<WebViewController> controller, const ReadyCallback& ready);
    void ApplySettings();
    void RegisterNavCompleteHandler();
    void RegisterProcessFailedHandler();
    void RegisterConsoleHandler();
    void DeliverPendingFile();
    void OnCapture(const std::wstring& path, bool success, const std::vector<std::byte>& png);
    void TellCaptureFailure(const std::wstring& path, const std::wstring& reason);
    void WaitForCaptures();

    // Wraps a callback so that it does nothing once the bridge is gone.
    template <typename Callback>
    auto WhileAlive(Callback callback);

    std::wstring loaderMissingText_;
    EnvironmentFactory factory_;
    std::shared_ptr<char> alive_ = std::make_shared<char>();

    QPointer<QWidget> host_;
    bool ready_ = false;
    std::wstring tempFolder_;  // as part of an address
    WebView* view_ = nullptr;  // of controller_
    std::unique_ptr<WebViewEnvironment> environment_;
    std::unique_ptr<WebViewController> controller_;
    // The scene that was asked for before the view was ready. The page shows it in its own mode.
    std::wstring pendingFile_;
    int openCaptures_ = 0;
};

}  // namespace vistrel
