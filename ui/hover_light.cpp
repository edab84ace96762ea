// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/hover_light.h"

#include <QApplication>
#include <QCursor>
#include <QEvent>
#include <QTimer>
#include <QWidget>

namespace vistrel {
namespace {

bool IsPopup(const QObject* object) {
    return object->isWidgetType() && static_cast<const QWidget*>(object)->windowType() == Qt::Popup;
}

void TellThoseThatTheMouseHasLeft() {
    for (QWidget* const widget : QApplication::allWidgets()) {
        if (!widget->underMouse()) continue;
        if (widget->rect().contains(widget->mapFromGlobal(QCursor::pos()))) continue;
        QEvent leave(QEvent::Leave);
        QCoreApplication::sendEvent(widget, &leave);
    }
}

}  // namespace

HoverLight::HoverLight(QObject* parent) : QObject(parent) {
    QCoreApplication::instance()->installEventFilter(this);
}

// While a popup is open, a control that is told is not drawn anew; and often it is not told.
bool HoverLight::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Leave && watched->isWidgetType())
        static_cast<QWidget*>(watched)->update();
    if (event->type() == QEvent::Hide && IsPopup(watched))
        QTimer::singleShot(0, this, TellThoseThatTheMouseHasLeft);
    return false;
}

}  // namespace vistrel
