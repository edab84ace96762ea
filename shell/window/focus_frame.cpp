// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/focus_frame.h"

#include <QApplication>
#include <QPainter>
#include <QRegion>

#include "ui/theme.h"

namespace vistrel {
namespace {

constexpr int kWidth = 2;

}  // namespace

FocusFrame::FocusFrame(QWidget* parent, QWidget* rest) : QWidget(parent), rest_(rest) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    hide();
    connect(qApp, &QApplication::focusChanged, this,
            [this](const QWidget* old, const QWidget* now) { OnFocus(old, now); });
}

bool FocusFrame::IsInArea(const QWidget* widget) const {
    if (rest_ && (widget == rest_ || rest_->isAncestorOf(widget))) return false;
    return parentWidget()->isAncestorOf(widget);
}

void FocusFrame::OnFocus(const QWidget* old, const QWidget* now) {
    if (now == nullptr) return;
    const bool inArea = IsInArea(now);
    // Back with the window, or from another part of the area: as it was.
    if (inArea && (old == nullptr || IsInArea(old))) return;
    setVisible(inArea && QGuiApplication::mouseButtons() == Qt::NoButton);
}

void FocusFrame::resizeEvent(QResizeEvent* /*event*/) {
    setMask(QRegion(rect()) - rect().adjusted(kWidth, kWidth, -kWidth, -kWidth));
}

void FocusFrame::paintEvent(QPaintEvent* /*event*/) {
    QPainter(this).fillRect(rect(), kFocusColour);
}

}  // namespace vistrel
