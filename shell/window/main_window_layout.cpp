// The main window's frame: menu bar, places of its parts, full screen.
#include <QApplication>
#include <QEvent>
#include <QResizeEvent>
#include <algorithm>
#include <utility>

#include "shell/window/main_window.h"
#include "shell/window/main_window_parts.h"

namespace vistrel {

void MainWindow::BuildMenu() {
    parts_->menu = new MainMenu(
        this, [this](ControlId id) { OnCommand(id); }, [this] { UpdateMenuState(); },
        [this] { setFocus(); });
    setMenuBar(parts_->menu);
    UpdateMenuState();
}

void MainWindow::UpdateMenuState() {
    if (parts_->menu == nullptr) return;
    parts_->menu->UpdateMenuState({parts_->sceneLoaded, !parts_->sidebarHidden, parts_->fullScreen,
                                   parts_->settings.isSharpMode, parts_->settings.stereoMode});
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parts_->client && event->type() == QEvent::Resize) {
        const QSize size = static_cast<QResizeEvent*>(event)->size();
        Layout(size.width(), size.height());
    }
    return QMainWindow::eventFilter(watched, event);
}

void MainWindow::Layout(int width, int height) {
    parts_->sidebar->setVisible(!parts_->sidebarHidden);
    parts_->sidebar->setGeometry(0, 0, Sidebar::kWidth, height);
    const int left = parts_->sidebarHidden ? 0 : Sidebar::kWidth;
    const QRect viewer(left, 0, std::max(0, width - left), height);
    parts_->preview->setGeometry(viewer);
    parts_->viewerFocus->setGeometry(viewer);
    parts_->bridge.SetBounds(viewer);
}

void MainWindow::ToggleSidebar() {
    parts_->sidebarHidden = !parts_->sidebarHidden;
    Layout(parts_->client->width(), parts_->client->height());
    if (!parts_->sidebarHidden) {
        UpdateModelDisplay();
        UpdateViewerControls();
    }
    UpdateMenuState();
}

void MainWindow::ToggleFullScreen() {
    // Enter also comes from an open menu, whose bar goes now.
    while (QWidget* const popup = QApplication::activePopupWidget()) {
        if (!popup->close()) break;
    }
    if (parts_->fullScreen) {
        setWindowState(windowState() & ~Qt::WindowFullScreen);
        LeaveFullScreen();
        return;
    }
    parts_->savedPlacement = isMaximized() ? QRect() : geometry();
    parts_->menu = nullptr;
    setMenuBar(nullptr);
    parts_->fullScreen = true;
    setWindowState(windowState() | Qt::WindowFullScreen);
}

void MainWindow::LeaveFullScreen() {
    if (!std::exchange(parts_->fullScreen, false)) return;
    if (!parts_->savedPlacement.isEmpty()) setGeometry(parts_->savedPlacement);
    BuildMenu();
}

void MainWindow::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    // The desktop can end full screen of its own accord.
    if (event->type() == QEvent::WindowStateChange && parts_ && !isFullScreen() && !isMinimized()) {
        LeaveFullScreen();
    }
}

}  // namespace vistrel
