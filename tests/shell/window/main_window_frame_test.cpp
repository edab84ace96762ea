// SPDX-License-Identifier: GPL-3.0-or-later
// The main window among others: layout, full screen, drag and drop.
#include <gtest/gtest.h>

#include <QApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QLabel>
#include <QMenuBar>
#include <QMimeData>
#include <QUrl>
#include <string>

#include "shell/window/main_window.h"
#include "tests/shell/window/window_fixture.h"
#include "tests/support/wait_until.h"

namespace vistrel {
namespace {

using test::WaitUntil;
using test::WindowTest;

class FrameTest : public WindowTest {
  protected:
    [[nodiscard]] QWidget* Host() const { return browser.hosts.at(0); }
    [[nodiscard]] QSize Area() const { return window->centralWidget()->size(); }
    // Whether `target` or a widget around it took what was dropped on it.
    bool Drop(QWidget* target, const QList<QUrl>& files) const {
        QMimeData data;
        data.setUrls(files);
        const QPoint place(3, 3);
        QDragEnterEvent enter(place, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(target, &enter);
        if (!enter.isAccepted()) return false;
        QDropEvent drop(place, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(target, &drop);
        return drop.isAccepted();
    }
    [[nodiscard]] QString InputName() const { return Find<QLabel>(ControlId::InputName)->text(); }
};

constexpr QSize kFrame(8, 28);

TEST(FirstWindowSize, IsTheUsualOneWhereThereIsRoom) {
    EXPECT_EQ(FirstWindowSize(QSize(1920, 1040), kFrame), QSize(1200, 700));
}

TEST(FirstWindowSize, LeavesRoomForItsFrameOnASmallScreen) {
    EXPECT_EQ(FirstWindowSize(QSize(1092, 590), kFrame), QSize(1084, 562));
    EXPECT_EQ(FirstWindowSize(QSize(1920, 700), kFrame), QSize(1200, 672));
}

TEST_F(FrameTest, ViewerAreaTakesThePlaceOfAHiddenSidebar) {
    Open();
    window->ToggleSidebar();
    EXPECT_TRUE(Find(ControlId::Sidebar)->isHidden());
    EXPECT_EQ(Host()->geometry(), QRect(0, 0, Area().width(), Area().height()));
    window->ToggleSidebar();
    EXPECT_FALSE(Find(ControlId::Sidebar)->isHidden());
    EXPECT_EQ(Host()->geometry(), QRect(290, 0, Area().width() - 290, Area().height()));
}

TEST_F(FrameTest, BrowserFillsItsHostAfterEveryChangeOfSize) {
    Open();
    browser.calls.clear();
    window->resize(900, 500);
    QCoreApplication::processEvents();
    EXPECT_EQ(Host()->geometry(), QRect(290, 0, 610, Area().height()));
    EXPECT_EQ(browser.calls.back(), L"bounds 0 0 610 " + std::to_wstring(Area().height()));
}

TEST_F(FrameTest, WindowNarrowerThanItsSidebarDoesNoHarm) {
    Open();
    window->Layout(200, 100);
    EXPECT_EQ(Host()->geometry(), QRect(290, 0, 0, 100));
}

TEST_F(FrameTest, SidebarShownAgainHasItsControlsInPlace) {
    Open();
    window->LoadScene(L"/a.ply");
    window->ToggleSidebar();
    EXPECT_FALSE(Find(ControlId::Generate)->isVisible());
    EXPECT_FALSE(Find(ControlId::Swap)->isVisible());
    window->ToggleSidebar();
    EXPECT_TRUE(Find(ControlId::Generate)->isVisible());
    EXPECT_TRUE(Find(ControlId::Swap)->isVisible());
    EXPECT_FALSE(Find(ControlId::DownloadProgress)->isVisible());
}

TEST_F(FrameTest, SceneLoadedBehindAHiddenSidebarShowsItsControlsLater) {
    Open();
    window->ToggleSidebar();
    window->LoadScene(L"/a.ply");
    EXPECT_FALSE(Find(ControlId::Swap)->isVisible());
    window->ToggleSidebar();
    EXPECT_TRUE(Find(ControlId::Swap)->isVisible());
}

TEST_F(FrameTest, FullScreenKeepsTheSidebarAndTakesTheMenuBar) {
    Open();
    window->ToggleFullScreen();
    QCoreApplication::processEvents();
    EXPECT_TRUE(window->isFullScreen());
    EXPECT_EQ(window->menuWidget(), nullptr);
    EXPECT_TRUE(Find(ControlId::Sidebar)->isVisible());
    EXPECT_EQ(Area(), window->size());
}

TEST_F(FrameTest, LeavingFullScreenRestoresPlaceAndMenu) {
    Open();
    window->setGeometry(40, 50, 640, 480);
    QCoreApplication::processEvents();
    window->ToggleFullScreen();
    QCoreApplication::processEvents();
    window->ToggleFullScreen();
    QCoreApplication::processEvents();
    EXPECT_FALSE(window->isFullScreen());
    EXPECT_EQ(window->geometry(), QRect(40, 50, 640, 480));
    ASSERT_NE(window->menuWidget(), nullptr);
    EXPECT_EQ(window->menuBar()->actions().size(), 4);
    EXPECT_TRUE(Item(ControlId::MenuSidePanel)->isChecked());
    EXPECT_FALSE(Item(ControlId::MenuFullScreen)->isChecked());
}

TEST_F(FrameTest, MaximisedWindowIsMaximisedAgain) {
    Open();
    window->showMaximized();
    QCoreApplication::processEvents();
    const QRect before = window->geometry();
    window->ToggleFullScreen();
    QCoreApplication::processEvents();
    EXPECT_TRUE(window->isFullScreen());
    window->ToggleFullScreen();
    QCoreApplication::processEvents();
    EXPECT_TRUE(window->isMaximized());
    EXPECT_FALSE(window->isFullScreen());
    EXPECT_EQ(window->geometry(), before);
}

TEST_F(FrameTest, FullScreenEndedByTheDesktopBringsTheMenuBack) {
    Open();
    window->ToggleFullScreen();
    window->showNormal();
    QCoreApplication::processEvents();
    EXPECT_NE(window->menuWidget(), nullptr);
    window->ToggleFullScreen();
    EXPECT_TRUE(window->isFullScreen());
}

TEST_F(FrameTest, FullScreenBegunByTheDesktopTakesTheMenuBar) {
    Open();
    window->setGeometry(40, 50, 640, 480);
    window->showFullScreen();
    QCoreApplication::processEvents();
    EXPECT_EQ(window->menuWidget(), nullptr);
    window->ToggleFullScreen();
    QCoreApplication::processEvents();
    EXPECT_FALSE(window->isFullScreen());
    EXPECT_NE(window->menuWidget(), nullptr);
    EXPECT_EQ(window->geometry(), QRect(40, 50, 640, 480));
}

TEST_F(FrameTest, FullScreenClosesAnOpenMenu) {
    Open();
    window->menuBar()->actions().at(0)->menu()->popup({0, 0});
    ASSERT_NE(QApplication::activePopupWidget(), nullptr);
    window->ToggleFullScreen();
    QCoreApplication::processEvents();
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
}

TEST_F(FrameTest, FullScreenCanBeChosenInTheMenu) {
    Open();
    Choose(ControlId::MenuFullScreen);
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(window->isFullScreen());
}

TEST_F(FrameTest, ClosedMenuGivesTheFocusBackToTheWindow) {
    Open();
    Find(ControlId::SelectFile)->setFocus();
    QMenu* const menu = window->menuBar()->actions().at(0)->menu();
    menu->popup({0, 0});
    menu->close();
    EXPECT_TRUE(WaitUntil([this] { return window->focusWidget() == window.get(); }));
}

TEST_F(FrameTest, NoControlHasTheFocusAtFirst) {
    Open();
    EXPECT_TRUE(WaitUntil([this] { return QApplication::focusWidget() == window.get(); }));
}

TEST_F(FrameTest, PhotographIsDroppedOnTheSidebar) {
    Open();
    EXPECT_TRUE(Drop(Find(ControlId::Generate), {QUrl("file:///p/a.jpg")}));
    EXPECT_EQ(InputName(), "a.jpg");
    EXPECT_TRUE(Host()->isHidden());
}

TEST_F(FrameTest, PhotographIsDroppedOnTheModelBox) {
    Open();
    EXPECT_TRUE(Drop(Find(ControlId::ModelName), {QUrl("file:///p/a.jpg")}));
    EXPECT_EQ(InputName(), "a.jpg");
}

TEST_F(FrameTest, SceneInCapitalsIsDroppedOnTheViewerArea) {
    Open();
    EXPECT_TRUE(Drop(window->centralWidget(), {QUrl("file:///p/A.PLY")}));
    EXPECT_TRUE(browser.Addresses().back().ends_with(L"openFile=/p/A.PLY"));
    EXPECT_FALSE(Host()->isHidden());
}

TEST_F(FrameTest, OnlyTheFirstOfSeveralDroppedFilesIsTaken) {
    Open();
    EXPECT_TRUE(Drop(window->centralWidget(),
                     {QUrl("file:///p/a.jpg"), QUrl("file:///p/b.jpg"), QUrl("file:///c.ply")}));
    EXPECT_EQ(InputName(), "a.jpg");
    EXPECT_EQ(browser.Addresses().size(), 1U);
}

TEST_F(FrameTest, DroppedFolderIsRefusedAndChangesNothing) {
    Open();
    EXPECT_FALSE(Drop(window->centralWidget(),
                      {QUrl::fromLocalFile(QString::fromStdString(folder.Path().string()))}));
    EXPECT_EQ(InputName(), "Drop image or 3DGS file here");
    EXPECT_FALSE(Host()->isHidden());
}

TEST_F(FrameTest, DroppedWebAddressIsRefused) {
    Open();
    EXPECT_FALSE(Drop(window->centralWidget(), {QUrl("https://example.org/a.jpg")}));
    EXPECT_EQ(InputName(), "Drop image or 3DGS file here");
}

}  // namespace
}  // namespace vistrel
