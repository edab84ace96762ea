// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/focus_frame.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QPushButton>
#include <QTest>
#include <QWindow>

namespace vistrel {
namespace {

class FocusFrameTest : public testing::Test {
  protected:
    FocusFrameTest() {
        window.resize(400, 300);
        panel.setGeometry(0, 0, 100, 300);
        area.setGeometry(100, 0, 300, 300);
        frame.setGeometry(area.geometry());
        area.setFocusPolicy(Qt::StrongFocus);
        window.show();
        window.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
        button.setFocus();
    }
    void Click(const QPoint& place) {
        QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, place);
    }

    QWidget window;
    QWidget panel{&window};
    QPushButton button{"button", &panel};
    QWidget area{&window};
    FocusFrame frame{&window, &panel};
};

TEST_F(FocusFrameTest, IsShownWhenTheKeyboardBringsTheFocus) {
    EXPECT_TRUE(frame.isHidden());
    QTest::keyClick(&button, Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), &area);
    EXPECT_FALSE(frame.isHidden());
}

TEST_F(FocusFrameTest, GoesWithTheFocus) {
    area.setFocus();
    button.setFocus();
    EXPECT_TRUE(frame.isHidden());
}

TEST_F(FocusFrameTest, IsNotShownWhenTheMouseBringsTheFocus) {
    Click(QPoint(250, 150));
    EXPECT_EQ(QApplication::focusWidget(), &area);
    EXPECT_TRUE(frame.isHidden());
}

TEST_F(FocusFrameTest, LetsTheMouseThrough) {
    area.setFocus();
    EXPECT_EQ(window.childAt(101, 150), &area);
}

TEST_F(FocusFrameTest, CoversNothingButTheEdge) {
    area.setFocus();
    EXPECT_TRUE(frame.mask().contains(QPoint(1, 150)));
    EXPECT_FALSE(frame.mask().contains(QPoint(2, 150)));
}

}  // namespace
}  // namespace vistrel
