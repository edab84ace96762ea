// SPDX-License-Identifier: GPL-3.0-or-later
// Shows that the keyboard focus is in an area that does not show it itself.
#pragma once

#include <QPointer>
#include <QWidget>

namespace vistrel {

// Thread of the event loop. Its geometry is the area, above which it lies; it lets the mouse
// through. Who gives the focus with the mouse knows where it is and sees no frame.
class FocusFrame : public QWidget {
  public:
    // The area holds all of `parent` but what is in `rest`.
    FocusFrame(QWidget* parent, QWidget* rest);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void OnFocus(const QWidget* old, const QWidget* now);
    [[nodiscard]] bool IsInArea(const QWidget* widget) const;

    QPointer<QWidget> rest_;
};

}  // namespace vistrel
