// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/window_frame.h"

#include <QApplication>
#include <QMainWindow>
#include <utility>

namespace vistrel {

QSize FirstWindowSize(const QSize& room, const QSize& frame) {
    constexpr QSize kUsual(1200, 700);
    return kUsual.boundedTo(room - frame);
}

WindowFrame::WindowFrame(QMainWindow& window, std::function<MainMenu*()> makeMenu)
    : window_(window), makeMenu_(std::move(makeMenu)) {}

void WindowFrame::BuildMenu() {
    menu_ = makeMenu_();
    window_.setMenuBar(menu_);
}

void WindowFrame::ToggleFullScreen() {
    // Enter also comes from an open menu, whose bar goes now.
    while (QWidget* const popup = QApplication::activePopupWidget()) {
        if (!popup->close()) break;
    }
    if (fullScreen_) {
        window_.setWindowState(window_.windowState() & ~Qt::WindowFullScreen);
        Leave();
        return;
    }
    Enter(window_.isMaximized() ? QRect() : window_.geometry());
    window_.setWindowState(window_.windowState() | Qt::WindowFullScreen);
}

void WindowFrame::OnStateChange() {
    if (window_.isFullScreen()) {
        if (!fullScreen_) Enter({});
    } else if (!window_.isMinimized()) {
        Leave();
    }
}

void WindowFrame::Enter(const QRect& placement) {
    savedPlacement_ = placement;
    menu_ = nullptr;
    window_.setMenuBar(nullptr);
    fullScreen_ = true;
}

void WindowFrame::Leave() {
    if (!std::exchange(fullScreen_, false)) return;
    if (!savedPlacement_.isEmpty()) window_.setGeometry(savedPlacement_);
    BuildMenu();
}

}  // namespace vistrel
