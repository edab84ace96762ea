// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/start/dark_title_bars.h"

#include <QGuiApplication>
#include <QPlatformSurfaceEvent>
#include <QWindow>

#include "shell/start/x11_window.h"

namespace vistrel {

DarkTitleBars::DarkTitleBars() {
    qGuiApp->installEventFilter(this);
}

// The system's window behind one of ours may be made anew at any time.
bool DarkTitleBars::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::PlatformSurface || !watched->isWindowType()) return false;
    const auto& surface = static_cast<const QPlatformSurfaceEvent&>(*event);
    const auto& window = static_cast<const QWindow&>(*watched);
    if (surface.surfaceEventType() == QPlatformSurfaceEvent::SurfaceCreated && window.isTopLevel())
        AskForDarkTitleBar(window);
    return false;
}

}  // namespace vistrel
