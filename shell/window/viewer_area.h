// SPDX-License-Identifier: GPL-3.0-or-later
// The right side of the window: the chosen photograph, or a scene in the browser.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "viewer/scene_link.h"
#include "viewer/web_view_bridge.h"

class QRect;
class QWidget;

namespace vistrel {

class FocusFrame;
class Preview;

// Thread of the event loop. Calls that the browser cannot take yet are dropped in silence, but for
// one scene, which waits.
class ViewerArea {
  public:
    // The area holds all of `client` but what is in `sidebar`; both outlive it. `webDir` is the
    // page's folder; an empty `browser` means that of the loader library.
    ViewerArea(QWidget* client, QWidget* sidebar, std::wstring webDir, EnvironmentFactory browser);

    // A scene's page was loaded and has settings of its own. May be empty.
    std::function<void()> onPageLoaded;
    // Something went wrong; the text is for the user. May be empty.
    std::function<void(const std::wstring& text)> onFailure;

    // Makes the browser's place at `bounds` (coordinates of the client), before the window is
    // shown.
    void Prepare(const QRect& bounds);
    // Starts the browser. `onReady` hears once whether it is there, in case of a failure possibly
    // from inside this call; what it heard belongs into SetReady.
    void Start(WebViewBridge::ReadyCallback onReady);
    void SetReady(bool ready) { webViewReady_ = ready; }
    [[nodiscard]] bool IsReady() const { return webViewReady_; }

    void SetBounds(const QRect& bounds);
    // Shows the browser or the photograph, whichever it is to be now, if something else did not.
    void UpdateVisibility();

    void ShowPhotograph(const std::wstring& path);
    // Shows a splat file. SHARP is for scenes made by the engine, General for all others.
    void ShowScene(std::wstring path, bool sharp);
    // A scene was handed to the browser; else there is a photograph, or nothing.
    [[nodiscard]] bool SceneLoaded() const { return sceneLoaded_; }
    // The latest scene, also where a photograph has taken its place.
    [[nodiscard]] const std::wstring& CurrentScenePath() const { return currentScenePath_; }

    // See WebViewBridge.
    void SetStereoMode(std::int32_t mode) { bridge_.SetStereoMode(mode); }
    void SetFocusDepth(double focus, double depth) { bridge_.SetFocusDepth(focus, depth); }
    void SetSwapEyes(bool swap) { bridge_.SetSwapEyes(swap); }
    void CaptureImage(const std::wstring& path) { bridge_.CaptureImage(nullptr, path); }
    void FinishCaptures() { bridge_.FinishCaptures(); }

    // Whether a photograph is being read, which nobody waits for.
    [[nodiscard]] bool IsReading() const;

  private:
    void Tell(const std::wstring& text) const;

    QWidget* client_;
    std::wstring webDir_;
    Preview* preview_;
    FocusFrame* focus_;
    WebViewBridge bridge_;
    SceneLink sceneLink_;
    bool webViewReady_ = false;
    bool sceneLoaded_ = false;
    std::wstring currentScenePath_;
};

}  // namespace vistrel
