// SPDX-License-Identifier: GPL-3.0-or-later
// Title bars as dark as the windows below them.
#pragma once

#include <QObject>

namespace vistrel {

// Asks the window manager for them, on X11, for every window that is made from here on. Thread of
// the event loop.
class DarkTitleBars : public QObject {
  public:
    DarkTitleBars();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
};

}  // namespace vistrel
