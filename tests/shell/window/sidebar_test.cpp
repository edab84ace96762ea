// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/sidebar.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QRect>
#include <QScrollBar>
#include <QSlider>
#include <QTest>
#include <QWheelEvent>
#include <limits>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "tests/shell/window/find_control.h"
#include "ui/settings.h"
#include "ui/theme.h"
#include "ui/ui_text.h"

namespace vistrel {
namespace {

class SidebarTest : public testing::Test {
  protected:
    SidebarTest() { ApplyTheme(); }
    ~SidebarTest() override { gUiText = nullptr; }

    void Make() {
        sidebar = std::make_unique<Sidebar>(nullptr, settings);
        sidebar->onCommand = [this](ControlId id, int value) {
            commands.emplace_back(static_cast<int>(id), value);
        };
        sidebar->resize(Sidebar::kWidth, 676);
    }
    void ShowDownload(bool button, bool progress) const {
        sidebar->ShowModel(L"", L"", button);
        if (progress) sidebar->ShowDownload(0, L"");
    }
    // Null where there is none.
    [[nodiscard]] QWidget* Find(int id) const {
        return sidebar->findChild<QWidget*>(QString::number(id));
    }
    template <typename Control = QWidget>
    [[nodiscard]] Control* Find(ControlId id) const {
        return test::FindControl<Control>(*sidebar, id);
    }
    [[nodiscard]] std::map<int, QRect> Geometries() const {
        std::map<int, QRect> all;
        for (int id = 1001; id <= 1051; ++id) {
            if (const QWidget* control = Find(id)) all[id] = control->geometry();
        }
        return all;
    }

    AppSettings settings;
    std::unique_ptr<Sidebar> sidebar;
    std::vector<std::pair<int, int>> commands;
};

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

TEST_F(SidebarTest, DownloadShowsItsProgressUntilItsEnd) {
    Make();
    ShowDownload(true, false);
    sidebar->ShowDownloadStart(L"begins");
    EXPECT_FALSE(Find(ControlId::DownloadModel)->isEnabled());
    EXPECT_FALSE(Find(ControlId::DownloadProgress)->isHidden());
    EXPECT_EQ(Find<QLabel>(ControlId::DownloadStatus)->text(), "begins");
    sidebar->ShowDownload(1500, L"half");
    EXPECT_EQ(Find<QProgressBar>(ControlId::DownloadProgress)->value(), 1000);
    EXPECT_EQ(Find<QLabel>(ControlId::DownloadStatus)->text(), "half");
    sidebar->ShowDownloadEnd(L"ended");
    EXPECT_TRUE(Find(ControlId::DownloadModel)->isEnabled());
    EXPECT_TRUE(Find(ControlId::DownloadProgress)->isHidden());
    EXPECT_EQ(Find<QLabel>(ControlId::DownloadStatus)->text(), "ended");
}

TEST_F(SidebarTest, ModelHidesTheProgressOfADownload) {
    Make();
    ShowDownload(true, true);
    sidebar->ShowModel(L"net.onnx", L"/net.onnx", false);
    EXPECT_EQ(Find<QLineEdit>(ControlId::ModelName)->text(), "net.onnx");
    for (const ControlId id :
         {ControlId::DownloadModel, ControlId::DownloadProgress, ControlId::DownloadStatus}) {
        EXPECT_TRUE(Find(id)->isHidden()) << static_cast<int>(id);
    }
}

TEST_F(SidebarTest, DisabledButtonHandsTheFocusToNoOtherControl) {
    Make();
    Find(ControlId::Generate)->setFocus();
    ASSERT_EQ(sidebar->focusWidget(), Find(ControlId::Generate));
    sidebar->SetGenerateEnabled(false);
    EXPECT_FALSE(Find(ControlId::Generate)->isEnabled());
    EXPECT_EQ(sidebar->focusWidget(), sidebar.get());
}

TEST_F(SidebarTest, ViewerControlsAreHiddenAtFirst) {
    Make();
    for (int id = 1040; id <= 1051; ++id) EXPECT_TRUE(Find(id)->isHidden()) << id;
    for (const int id :
         {1001, 1002, 1003, 1010, 1011, 1012, 1030, 1031, 1032, 1033, 1034, 1035, 1036})
        EXPECT_FALSE(Find(id)->isHidden()) << id;
}

TEST_F(SidebarTest, TwelveViewerControlsComeAndGoTogether) {
    Make();
    sidebar->ShowViewerControls(true);
    for (int id = 1040; id <= 1051; ++id) EXPECT_FALSE(Find(id)->isHidden()) << id;
    sidebar->ShowViewerControls(false);
    for (int id = 1040; id <= 1051; ++id) EXPECT_TRUE(Find(id)->isHidden()) << id;
}

TEST_F(SidebarTest, ControlsShowTheSettings) {
    settings.executionProvider = 1;
    settings.stereoMode = 4;
    settings.focus = -12.9;
    settings.depth = 12.7;
    settings.isSharpMode = false;
    Make();
    EXPECT_EQ(Find<QComboBox>(ControlId::Provider)->currentIndex(), 1);
    EXPECT_EQ(Find<QComboBox>(ControlId::StereoMode)->currentIndex(), 4);
    EXPECT_TRUE(Find<QRadioButton>(ControlId::GeneralMode)->isChecked());
    EXPECT_EQ(Find<QSlider>(ControlId::Focus)->value(), -12);
    EXPECT_EQ(Find<QSlider>(ControlId::Depth)->value(), 12);
    EXPECT_EQ(Find<QLabel>(ControlId::FocusLabel)->text(), "Focus: -12");
    EXPECT_EQ(Find<QLabel>(ControlId::DepthLabel)->text(), "Depth: 12");
}

TEST_F(SidebarTest, SettingsOutsideTheRangesDoNoHarm) {
    settings.executionProvider = 7;
    settings.stereoMode = -3;
    settings.focus = 1e300;
    settings.depth = std::numeric_limits<double>::quiet_NaN();
    Make();
    EXPECT_EQ(Find<QComboBox>(ControlId::Provider)->currentIndex(), -1);
    EXPECT_EQ(Find<QComboBox>(ControlId::StereoMode)->currentIndex(), -1);
    EXPECT_EQ(Find<QSlider>(ControlId::Focus)->value(), 100);
    EXPECT_EQ(Find<QLabel>(ControlId::FocusLabel)->text(), "Focus: 2147483647");
    EXPECT_EQ(Find<QSlider>(ControlId::Depth)->value(), 0);
}

TEST_F(SidebarTest, ValueLabelsStayEnglishInJapanese) {
    gUiText = &kJapaneseText;
    Make();
    EXPECT_EQ(Find<QLabel>(ControlId::FocusLabel)->text(), "Focus: 0");
    EXPECT_EQ(Find<QLabel>(ControlId::DepthLabel)->text(), "Depth: 30");
}

TEST_F(SidebarTest, RangesAreThoseOfTheViewer) {
    Make();
    EXPECT_EQ(Find<QSlider>(ControlId::Focus)->minimum(), -100);
    EXPECT_EQ(Find<QSlider>(ControlId::Focus)->maximum(), 100);
    EXPECT_EQ(Find<QSlider>(ControlId::Depth)->minimum(), 0);
    EXPECT_EQ(Find<QSlider>(ControlId::Depth)->maximum(), 200);
    EXPECT_EQ(Find<QProgressBar>(ControlId::DownloadProgress)->minimum(), 0);
    EXPECT_EQ(Find<QProgressBar>(ControlId::DownloadProgress)->maximum(), 1000);
}

TEST_F(SidebarTest, ButtonsGiveTheirCommands) {
    Make();
    sidebar->ShowViewerControls(true);
    std::vector<std::pair<int, int>> expected;
    for (const int id : {1003, 1002, 1012, 1013, 1032, 1033, 1049, 1050, 1051}) {
        dynamic_cast<QPushButton&>(*Find(id)).click();
        expected.emplace_back(id, 0);
    }
    EXPECT_EQ(commands, expected);
}

TEST_F(SidebarTest, RadioGivesItsCommandAlsoWhenItIsCheckedAlready) {
    Make();
    sidebar->ShowViewerControls(true);
    Find<QRadioButton>(ControlId::GeneralMode)->click();
    Find<QRadioButton>(ControlId::GeneralMode)->click();
    EXPECT_EQ(commands, (std::vector<std::pair<int, int>>{{1042, 0}, {1042, 0}}));
    EXPECT_FALSE(Find<QRadioButton>(ControlId::SharpMode)->isChecked());
}

TEST_F(SidebarTest, UserChoosesInACombo) {
    Make();
    sidebar->show();
    Find(ControlId::Provider)->setFocus();
    QTest::keyClick(Find(ControlId::Provider), Qt::Key_Down);
    EXPECT_EQ(commands, (std::vector<std::pair<int, int>>{{1036, 1}}));
}

TEST_F(SidebarTest, UserMovesASlider) {
    Make();
    sidebar->ShowViewerControls(true);
    QTest::keyClick(Find(ControlId::Depth), Qt::Key_Right);
    EXPECT_EQ(commands, (std::vector<std::pair<int, int>>{{1048, 31}}));
}

TEST_F(SidebarTest, ProgramSetsControlsInSilence) {
    Make();
    sidebar->SetFocusDepth(5, 6);
    sidebar->SetStereoMode(3);
    sidebar->SetViewMode(false);
    EXPECT_TRUE(commands.empty());
    EXPECT_EQ(Find<QComboBox>(ControlId::StereoMode)->currentIndex(), 3);
}

TEST_F(SidebarTest, FontsHaveTheirSizesAndWeights) {
    Make();
    const auto expectFont = [&](int id, int pixels, int weight) {
        EXPECT_EQ(Find(id)->font().pixelSize(), pixels) << id;
        EXPECT_EQ(Find(id)->font().weight(), weight) << id;
    };
    expectFont(1001, 16, 700);
    for (const int id : {1002, 1010, 1030, 1033, 1040}) expectFont(id, 14, 600);
    for (const int id : {1003, 1011, 1015, 1031, 1034, 1035, 1043, 1045, 1047})
        expectFont(id, 11, 400);
    for (const int id : {1012, 1013, 1032, 1036, 1041, 1042, 1044, 1049, 1050, 1051})
        expectFont(id, 14, 400);
}

TEST_F(SidebarTest, BackgroundIsDarkerThanTheWindow) {
    Make();
    const QImage picture = sidebar->grab().toImage();
    EXPECT_EQ(picture.pixelColor(2, 2), QColor(24, 24, 37));
    EXPECT_EQ(picture.pixelColor(289, 670), QColor(24, 24, 37));
}

TEST_F(SidebarTest, TextsHaveTheColourOfTexts) {
    Make();
    const QImage title = Find(1001)->grab().toImage();
    bool found = false;
    for (int y = 0; y < title.height(); ++y)
        for (int x = 0; x < title.width(); ++x)
            found = found || title.pixelColor(x, y) == QColor(205, 214, 244);
    EXPECT_TRUE(found);
}

TEST_F(SidebarTest, ProgressBarHasItsColours) {
    Make();
    sidebar->ShowDownload(500, L"");
    const QImage bar = Find(ControlId::DownloadProgress)->grab().toImage();
    EXPECT_EQ(bar.pixelColor(60, 5), QColor(166, 227, 161));
    EXPECT_EQ(bar.pixelColor(200, 5), QColor(36, 36, 56));
}

TEST_F(SidebarTest, DisabledButtonLooksDifferent) {
    Make();
    const QImage enabled = Find(ControlId::Generate)->grab().toImage();
    sidebar->SetGenerateEnabled(false);
    EXPECT_NE(Find(ControlId::Generate)->grab().toImage(), enabled);
}

TEST_F(SidebarTest, FocusIsSeenOnEveryControlThatTakesIt) {
    Make();
    sidebar->ShowViewerControls(true);
    sidebar->show();
    sidebar->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(sidebar.get()));
    for (const int id : {1002, 1003, 1011, 1012, 1032, 1033, 1036, 1041, 1044, 1046, 1048, 1049}) {
        QWidget* const control = Find(id);
        Find(1050)->setFocus();
        const QImage without = control->grab().toImage();
        control->setFocus();
        ASSERT_EQ(QApplication::focusWidget(), control) << id;
        EXPECT_NE(control->grab().toImage(), without) << id;
    }
}

TEST_F(SidebarTest, TabGoesFromTopToBottom) {
    Make();
    sidebar->ShowViewerControls(true);
    sidebar->show();
    sidebar->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(sidebar.get()));
    Find(1003)->setFocus();
    std::vector<int> order;
    for (int i = 0; i < 15; ++i) {
        order.push_back(QApplication::focusWidget()->objectName().toInt());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    EXPECT_EQ(order, (std::vector<int>{1003, 1002, 1011, 1012, 1013, 1032, 1036, 1033, 1041, 1044,
                                       1046, 1048, 1049, 1050, 1051}));
}

TEST_F(SidebarTest, EveryControlHasANameForScreenReaders) {
    Make();
    for (int id = 1001; id <= 1051; ++id) {
        const QWidget* const control = Find(id);
        if (control == nullptr || qobject_cast<const QLabel*>(control) != nullptr) continue;
        const auto* const button = qobject_cast<const QAbstractButton*>(control);
        EXPECT_FALSE(control->accessibleName().isEmpty() &&
                     (button == nullptr || button->text().isEmpty()))
            << id;
    }
    EXPECT_EQ(Find(ControlId::Depth)->accessibleName(), "Depth");
    EXPECT_EQ(Find(1002)->accessibleName(), "Help");
}

}  // namespace
}  // namespace vistrel
