// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/hover_light.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCursor>
#include <QMenu>
#include <QPushButton>
#include <QTest>

namespace vistrel {
namespace {

class Button : public QPushButton {
  public:
    using QPushButton::QPushButton;
    int repainted = 0;

  protected:
    void paintEvent(QPaintEvent* event) override {
        ++repainted;
        QPushButton::paintEvent(event);
    }
};

class HoverLightTest : public testing::Test {
  protected:
    HoverLightTest() {
        window.resize(400, 300);
        button.setGeometry(20, 20, 100, 30);
        window.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
    }
    void MoveTo(const QPoint& place) const {
        QCursor::setPos(window.mapToGlobal(place));
        QTest::mouseMove(window.windowHandle(), place);
    }
    // As it comes from the window system: the menu sees the moves.
    void MoveWhileAMenuIsOpen(const QPoint& place) {
        menu.addAction("Item");
        menu.popup(window.mapToGlobal(QPoint(200, 100)));
        QCursor::setPos(window.mapToGlobal(place));
        menu.close();
        QCoreApplication::processEvents();
    }

    HoverLight light;
    QWidget window;
    Button button{&window};
    QMenu menu{&window};
};

TEST_F(HoverLightTest, GoesOutWhereTheMouseHasLeftMeanwhile) {
    MoveTo({30, 30});
    ASSERT_TRUE(button.underMouse());
    MoveWhileAMenuIsOpen({300, 200});
    EXPECT_FALSE(button.underMouse());
}

TEST_F(HoverLightTest, ControlThatIsToldInSilenceIsDrawnAnew) {
    button.repainted = 0;
    QEvent leave(QEvent::Leave);
    QCoreApplication::sendEvent(&button, &leave);
    QCoreApplication::processEvents();
    EXPECT_GT(button.repainted, 0);
}

TEST_F(HoverLightTest, StaysWhereTheMouseStillIs) {
    MoveTo({30, 30});
    ASSERT_TRUE(button.underMouse());
    MoveWhileAMenuIsOpen({40, 35});
    EXPECT_TRUE(button.underMouse());
}

}  // namespace
}  // namespace vistrel
