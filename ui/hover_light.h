// SPDX-License-Identifier: GPL-3.0-or-later
// Controls are lit while the mouse is over them.
#pragma once

#include <QObject>

namespace vistrel {

// Puts out the light of controls that the mouse has left while a menu or a list was open, which
// sees its moves in their place. For all windows, as long as it lives; thread of the event loop.
class HoverLight : public QObject {
  public:
    explicit HoverLight(QObject* parent = nullptr);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
};

}  // namespace vistrel
