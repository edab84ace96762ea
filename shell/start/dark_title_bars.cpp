// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/start/dark_title_bars.h"

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <QPlatformSurfaceEvent>
#include <QWindow>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace vistrel {
namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

xcb_atom_t Atom(xcb_connection_t* display, std::string_view name) {
    const auto cookie =
        xcb_intern_atom(display, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const std::unique_ptr<xcb_intern_atom_reply_t, Free> reply(
        xcb_intern_atom_reply(display, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void AskForDarkTitleBar(const QWindow& window) {
    const auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 == nullptr) return;
    constexpr std::string_view kVariant = "dark";
    xcb_connection_t* const display = x11->connection();
    xcb_change_property(display, XCB_PROP_MODE_REPLACE, static_cast<xcb_window_t>(window.winId()),
                        Atom(display, "_GTK_THEME_VARIANT"), Atom(display, "UTF8_STRING"), 8,
                        kVariant.size(), kVariant.data());
}

}  // namespace

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
