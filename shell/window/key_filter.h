// SPDX-License-Identifier: GPL-3.0-or-later
// A handful of keys that are commands wherever they are pressed in the program.
#pragma once

#include <QObject>
#include <memory>

namespace vistrel {

class Mailbox;

// Whether the control with the focus has a use of its own for keys: text is typed there, or it is a
// combo box or the list that it has dropped down. Thread of the event loop.
[[nodiscard]] bool FocusTakesKeys();

// C, Q, S, X, F11 and Enter, which counts as F11: whatever control, menu or dialog has the focus,
// the key goes to the window (kKeyDownMessage with the Qt::Key) and to nothing else, each
// repetition of a held key too. Where text is typed and in combo boxes keys have their usual
// meaning. Modifiers do not matter. On layouts without Latin letters the letters' places count.
// Thread of the event loop.
class KeyFilter : public QObject {
  public:
    // Begins at once, for all windows of the application, and ends with the object.
    explicit KeyFilter(std::shared_ptr<Mailbox> window);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    std::shared_ptr<Mailbox> window_;
};

}  // namespace vistrel
