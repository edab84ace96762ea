// SPDX-License-Identifier: GPL-3.0-or-later
// A label that shows its text as it stands and never cuts it off without a sign.
#pragma once

#include <QLabel>

namespace vistrel {

// One line, shortened in the middle where it is too long; with wordWrap() as many lines as fit. The
// whole text is then shown as tool tip.
class TextLabel : public QLabel {
  public:
    explicit TextLabel(QWidget* parent);

    // Whether the text has room enough.
    [[nodiscard]] bool Fits() const;

  protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    [[nodiscard]] int VisibleLines() const;
    void PaintLine(QPainter& painter) const;
    void PaintLines(QPainter& painter) const;
};

}  // namespace vistrel
