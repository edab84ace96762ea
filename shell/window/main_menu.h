// SPDX-License-Identifier: GPL-3.0-or-later
// The window's menu bar: what there is to choose and what can be chosen now.
#pragma once

#include <QMenuBar>
#include <cstdint>
#include <functional>
#include <map>

#include "shell/window/control_id.h"
#include "ui/ui_text.h"

class QAction;
class QMenu;

namespace vistrel {

struct MenuState {
    bool sceneLoaded = false;
    bool sidebarShown = true;
    bool fullScreen = false;
    bool sharpMode = true;
    std::int32_t stereoMode = 0;  // a mode that there is not marks none
};

// Thread of the event loop. Keys named behind a tab are only shown; the window's keys act.
class MainMenu : public QMenuBar {
  public:
    // `onCommand` hears what is chosen, `onShow` that a menu is about to be shown, `onHide` that
    // the last one was closed.
    MainMenu(QWidget* parent, std::function<void(ControlId)> onCommand,
             std::function<void()> onShow, std::function<void()> onHide);

    void UpdateMenuState(const MenuState& state);

  private:
    QMenu* AddMenu(TextId text);
    void Watch(QMenu* menu);
    QAction* AddItem(QMenu* menu, ControlId id, TextId text);
    void MakeFileMenu();
    void MakeViewMenu();
    void MakeControlsMenu();
    void MakeHelpMenu();

    std::function<void(ControlId)> onCommand_;
    std::function<void()> onShow_;
    std::function<void()> onHide_;
    std::map<ControlId, QAction*> items_;
    QMenu* controls_ = nullptr;
};

}  // namespace vistrel
