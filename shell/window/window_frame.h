// SPDX-License-Identifier: GPL-3.0-or-later
// The frame around the main window: its menu bar, and full screen without any.
#pragma once

#include <QRect>
#include <QSize>
#include <functional>

#include "shell/window/main_menu.h"

class QMainWindow;

namespace vistrel {

// The window's size at the start, without its frame, on a screen that has `room` for windows;
// `frame` is what their frames add.
[[nodiscard]] QSize FirstWindowSize(const QSize& room, const QSize& frame);

// Thread of the event loop. `window` outlives it.
class WindowFrame {
  public:
    // `makeMenu` makes a menu whose parent is the window; it is called for the first one and
    // whenever full screen ends.
    WindowFrame(QMainWindow& window, std::function<MainMenu*()> makeMenu);

    // Gives the window a menu bar.
    void BuildMenu();
    // Null in full screen.
    [[nodiscard]] MainMenu* Menu() const { return menu_; }

    // Back, the window has the place that it had before.
    void ToggleFullScreen();
    [[nodiscard]] bool IsFullScreen() const { return fullScreen_; }
    // The window's state has changed: the desktop can begin and end full screen of its own accord.
    void OnStateChange();

  private:
    // `placement` is what Leave restores; empty where the desktop does.
    void Enter(const QRect& placement);
    void Leave();

    QMainWindow& window_;
    std::function<MainMenu*()> makeMenu_;
    MainMenu* menu_ = nullptr;
    bool fullScreen_ = false;
    QRect savedPlacement_;  // geometry before full screen
};

}  // namespace vistrel
