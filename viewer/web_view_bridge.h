// The browser view inside the window, and all that the program says to the page in it.
//
// Everything here belongs to the thread of the event loop. Nothing throws. Calls that the view
// cannot take yet are dropped in silence, but for one scene file, which waits.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "viewer/web_view.h"

class QRect;
class QWidget;

namespace vistrel {

// Makes the browser environment: the function that the loader library exports, or a double of it.
using EnvironmentFactory = std::function<CreateWebViewEnvironmentFunction>;

class WebViewBridge {
  public:
    // `loaderMissingText` is what the message box says when there is no loader library.
    // `factory` takes the place of the loader library's; empty: the library is loaded.
    explicit WebViewBridge(std::wstring loaderMissingText, EnvironmentFactory factory = {});
    ~WebViewBridge();
    WebViewBridge(const WebViewBridge&) = delete;
    WebViewBridge& operator=(const WebViewBridge&) = delete;

    // Makes the host window in `parent` at `bounds` (the parent's coordinates) and starts making the
    // browser in it, which then shows the page in `tempFolder`. Returns whether that could be
    // started. `onReady` hears once whether the view is there, in case of a failure possibly from
    // inside this call.
    bool Initialize(QWidget* parent, const QRect& bounds, const std::wstring& tempFolder,
                    std::function<void(bool ready)> onReady);

    // Moves the host window (coordinates of the parent) and the browser, which fills it.
    void SetBounds(const QRect& bounds);
    // Shows or hides the browser and its host window together.
    void SetVisible(bool visible);

    // Opens a splat file in the page: at once, or when the page is there. SHARP is for scenes made
    // by the engine, General for all others.
    void ShowScene(const std::wstring& path, bool sharp);

    void SetStereoMode(int mode);
    void SetFocusDepth(double focus, double depth);
    void SetSwapEyes(bool swap);

    // Writes what the view shows to a PNG file, after the call has returned. `owner` is not used.
    void CaptureImage(QWidget* owner, const std::wstring& path);

    [[nodiscard]] std::wstring BuildViewerUrl(const std::wstring& path, bool sharp) const;

  private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace vistrel
