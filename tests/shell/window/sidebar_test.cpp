// SPDX-License-Identifier: GPL-3.0-or-later
// What the sidebar's controls show and give, and what they look like.
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
#include <QSlider>
#include <QTest>
#include <limits>
#include <utility>
#include <vector>

#include "tests/shell/window/sidebar_fixture.h"
#include "ui/theme.h"
#include "ui/ui_text.h"

namespace vistrel {
namespace {

using test::SidebarTest;

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
