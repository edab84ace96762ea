// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/start/window_activation.h"

#include <QGuiApplication>
#include <QWidget>
#include <QWindow>

#include "shell/start/x11_window.h"

namespace vistrel {

void BringToFront(QWidget& window, const QVariantMap& platformData) {
    const QByteArray token = platformData.value("activation-token").toString().toUtf8();
    // Where Qt looks for it when it asks the compositor.
    if (!token.isEmpty() && QGuiApplication::platformName().startsWith("wayland"))
        qputenv("XDG_ACTIVATION_TOKEN", token);
    if (window.isMinimized()) window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.raise();
    const QByteArray startupId = platformData.value("desktop-startup-id").toString().toUtf8();
    if (!AnswerStartup(*window.windowHandle(), startupId)) window.activateWindow();
}

}  // namespace vistrel
