// SPDX-License-Identifier: GPL-3.0-or-later
// Where the sidebar's controls lie, and how they are reached in a low window.
#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QPushButton>
#include <QRect>
#include <QScrollBar>
#include <QSlider>
#include <QTest>
#include <QWheelEvent>
#include <map>
#include <utility>

#include "tests/shell/window/sidebar_fixture.h"

namespace vistrel {
namespace {

using test::SidebarTest;

// Distance from the model section's first line to where the input section begins.
std::map<int, QRect> Expected(int download, int progress, int status, int input) {
    const auto below = [input](int y) { return input + y; };
    return {
        {1001, {12, 12, 116, 24}},          {1002, {252, 12, 26, 24}},
        {1003, {148, 12, 100, 24}},         {1010, {12, 42, 266, 16}},
        {1011, {12, 63, 194, 24}},          {1012, {210, 63, 68, 28}},
        {1013, {12, download, 266, 28}},    {1014, {12, progress, 266, 10}},
        {1015, {12, status, 266, 16}},      {1030, {12, below(0), 266, 16}},
        {1031, {12, below(21), 266, 16}},   {1032, {12, below(42), 266, 28}},
        {1033, {12, below(127), 266, 34}},  {1034, {12, below(166), 266, 42}},
        {1035, {12, below(75), 266, 14}},   {1036, {12, below(94), 266, 24}},
        {1040, {12, below(223), 266, 16}},  {1041, {12, below(244), 129, 22}},
        {1042, {149, below(244), 129, 22}}, {1043, {12, below(272), 266, 14}},
        {1044, {12, below(291), 266, 24}},  {1045, {12, below(326), 266, 14}},
        {1046, {12, below(345), 266, 22}},  {1047, {12, below(372), 266, 14}},
        {1048, {12, below(391), 266, 22}},  {1049, {12, below(422), 129, 28}},
        {1050, {149, below(422), 129, 28}}, {1051, {12, below(456), 266, 28}},
    };
}

TEST_F(SidebarTest, ControlsLieWhereTheyShouldWithTheDownloadButton) {
    Make();
    ShowDownload(true, false);
    EXPECT_EQ(Geometries(), Expected(96, 129, 129, 139));
}

TEST_F(SidebarTest, ControlsMoveUpWithoutTheDownloadButton) {
    Make();
    ShowDownload(false, false);
    EXPECT_EQ(Geometries(), Expected(96, 96, 96, 106));
}

TEST_F(SidebarTest, ControlsMoveDownForTheProgressOfADownload) {
    Make();
    ShowDownload(true, true);
    EXPECT_EQ(Geometries(), Expected(96, 129, 144, 175));
}

TEST_F(SidebarTest, LastControlOfTheTallestLayoutFitsIntoTheWindow) {
    Make();
    ShowDownload(true, true);
    EXPECT_LT(Find(1051)->geometry().bottom(), 676);
}

TEST_F(SidebarTest, NothingScrollsWhereEverythingFits) {
    Make();
    sidebar->ShowViewerControls(true);
    ShowDownload(true, true);
    sidebar->show();
    QCoreApplication::processEvents();
    EXPECT_FALSE(sidebar->verticalScrollBar()->isVisible());
    EXPECT_EQ(sidebar->viewport()->size(), sidebar->size());
}

TEST_F(SidebarTest, HiddenControlsNeedNoRoom) {
    Make();
    ShowDownload(true, false);
    sidebar->resize(Sidebar::kWidth, 400);
    sidebar->show();
    QCoreApplication::processEvents();
    EXPECT_FALSE(sidebar->verticalScrollBar()->isVisible());
    sidebar->ShowViewerControls(true);
    QCoreApplication::processEvents();
    EXPECT_TRUE(sidebar->verticalScrollBar()->isVisible());
}

class ScrolledSidebarTest : public SidebarTest {
  protected:
    ScrolledSidebarTest() {
        Make();
        ShowDownload(true, false);
        sidebar->ShowViewerControls(true);
        sidebar->resize(Sidebar::kWidth, 300);
        sidebar->show();
        sidebar->activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(sidebar.get()));
    }
    // Top and bottom, as the user sees them.
    [[nodiscard]] std::pair<int, int> Seen(ControlId id) const {
        const QWidget* control = Find(id);
        const int top = control->mapTo(sidebar.get(), QPoint()).y();
        return {top, top + control->height()};
    }
    void Wheel(ControlId id) const {
        QWidget* control = Find(id);
        const QPointF place = QRectF(control->rect()).center();
        QWheelEvent wheel(place, control->mapToGlobal(place), {}, {0, -120}, Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QSpontaneKeyEvent::setSpontaneous(&wheel);  // only what users do goes on to parents
        qApp->notify(control, &wheel);
    }
};

TEST_F(ScrolledSidebarTest, ControlsKeepTheirPlacesBesideTheBar) {
    EXPECT_EQ(Geometries(), Expected(96, 129, 129, 139));
    EXPECT_GE(sidebar->viewport()->width(), 12 + 266);
    EXPECT_EQ(sidebar->horizontalScrollBar()->maximum(), 0);
}

TEST_F(ScrolledSidebarTest, LastControlCanBeReached) {
    EXPECT_GT(Seen(ControlId::SaveImage).first, 300);
    sidebar->verticalScrollBar()->setValue(sidebar->verticalScrollBar()->maximum());
    EXPECT_EQ(Seen(ControlId::SaveImage).second, 300);
}

TEST_F(ScrolledSidebarTest, ControlsComeInSightWithTheFocus) {
    Find(ControlId::Reset)->setFocus();
    QTest::keyClick(Find(ControlId::Reset), Qt::Key_Tab);
    ASSERT_TRUE(Find(ControlId::SaveImage)->hasFocus());
    EXPECT_LE(Seen(ControlId::SaveImage).second, 300);
}

TEST_F(ScrolledSidebarTest, WheelScrollsAndChangesNothing) {
    Wheel(ControlId::Depth);
    Wheel(ControlId::Provider);
    EXPECT_GT(sidebar->verticalScrollBar()->value(), 0);
    EXPECT_EQ(commands.size(), 0U);
    EXPECT_EQ(Find<QSlider>(ControlId::Depth)->value(), 30);
    EXPECT_EQ(Find<QComboBox>(ControlId::Provider)->currentIndex(), 0);
}

TEST_F(ScrolledSidebarTest, WheelTurnsTheSliderWithTheFocus) {
    Find(ControlId::Depth)->setFocus();
    Wheel(ControlId::Depth);
    EXPECT_EQ(sidebar->verticalScrollBar()->value(), 0);
    EXPECT_LT(Find<QSlider>(ControlId::Depth)->value(), 30);
}

}  // namespace
}  // namespace vistrel
