// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/start/x11_window.h"

#include <xcb/xcb.h>

#include <QByteArray>
#include <QGuiApplication>
#include <QWindow>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>

namespace vistrel {
namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

// Null on a display of another kind.
xcb_connection_t* Connection() {
    const auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 == nullptr ? nullptr : x11->connection();
}

xcb_window_t WindowOf(const QWindow& window) {
    return static_cast<xcb_window_t>(window.winId());
}

xcb_atom_t Atom(xcb_connection_t* display, std::string_view name) {
    const auto cookie =
        xcb_intern_atom(display, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const std::unique_ptr<xcb_intern_atom_reply_t, Free> reply(
        xcb_intern_atom_reply(display, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

// To those who listen at the root window for `mask`.
void TellRoot(xcb_connection_t* display, const xcb_client_message_event_t& message,
              std::uint32_t mask) {
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(display)).data->root;
    xcb_send_event(display, 0, root, mask, reinterpret_cast<const char*>(&message));
}

void Activate(xcb_connection_t* display, const QWindow& window, std::uint32_t time) {
    constexpr std::uint32_t kFromProgram = 1;
    xcb_client_message_event_t message = {};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = WindowOf(window);
    message.type = Atom(display, "_NET_ACTIVE_WINDOW");
    message.data.data32[0] = kFromProgram;
    message.data.data32[1] = time;
    TellRoot(display, message,
             XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY);
}

// The words go out in pieces, up to their closing NUL.
void TellStartup(xcb_connection_t* display, const QWindow& window, const QByteArray& words) {
    xcb_client_message_event_t message = {};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 8;
    message.window = WindowOf(window);
    message.type = Atom(display, "_NET_STARTUP_INFO_BEGIN");
    const xcb_atom_t rest = Atom(display, "_NET_STARTUP_INFO");
    std::span<const char> left(words.constData(), static_cast<std::size_t>(words.size()) + 1);
    while (!left.empty()) {
        const std::size_t size = std::min(left.size(), sizeof message.data.data8);
        std::memcpy(message.data.data8, left.data(), size);
        TellRoot(display, message, XCB_EVENT_MASK_PROPERTY_CHANGE);
        message.type = rest;
        left = left.subspan(size);
    }
}

}  // namespace

void AskForDarkTitleBar(const QWindow& window) {
    xcb_connection_t* const display = Connection();
    if (display == nullptr) return;
    constexpr std::string_view kVariant = "dark";
    xcb_change_property(display, XCB_PROP_MODE_REPLACE, WindowOf(window),
                        Atom(display, "_GTK_THEME_VARIANT"), Atom(display, "UTF8_STRING"), 8,
                        kVariant.size(), kVariant.data());
}

bool AnswerStartup(const QWindow& window, const QByteArray& startupId) {
    xcb_connection_t* const display = Connection();
    if (display == nullptr || startupId.isEmpty()) return false;
    QByteArray quoted = startupId;
    quoted.replace('\\', "\\\\").replace('"', "\\\"");
    TellStartup(display, window, "remove: ID=\"" + quoted + '"');

    // The user's click is told by its time, at the end of the name.
    constexpr std::string_view kTime = "_TIME";
    const auto at = startupId.lastIndexOf(kTime.data());
    bool isTime = false;
    const std::uint32_t time = startupId.mid(at + static_cast<int>(kTime.size())).toUInt(&isTime);
    isTime = isTime && at >= 0;
    if (isTime) Activate(display, window, time);
    xcb_flush(display);
    return isTime;
}

}  // namespace vistrel
