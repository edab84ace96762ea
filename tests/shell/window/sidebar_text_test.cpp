// SPDX-License-Identifier: GPL-3.0-or-later
// The texts of the sidebar in both languages, and whether there is room for them.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QComboBox>
#include <QFontMetrics>
#include <QLabel>
#include <QRadioButton>
#include <map>
#include <utility>

#include "shell/window/sidebar.h"
#include "tests/shell/window/find_control.h"
#include "ui/settings.h"
#include "ui/text_label.h"
#include "ui/theme.h"
#include "ui/ui_text.h"

namespace vistrel {
namespace {

class SidebarTextTest : public testing::TestWithParam<bool> {
  protected:
    ~SidebarTextTest() override { gUiText = nullptr; }
    [[nodiscard]] QWidget* Find(int id) const {
        return sidebar.findChild<QWidget*>(QString::number(id));
    }

    Sidebar sidebar{Parent(), AppSettings()};

  private:
    static QWidget* Parent() {
        ApplyTheme();  // fonts come first
        gUiText = GetParam() ? &kJapaneseText : &kEnglishText;
        return nullptr;
    }
};

TEST_P(SidebarTextTest, NoTextIsCutOff) {
    for (int id = 1001; id <= 1051; ++id) {
        QWidget* const control = Find(id);
        if (control == nullptr) continue;
        if (const auto* const label = dynamic_cast<const TextLabel*>(control)) {
            EXPECT_TRUE(label->Fits()) << id;
        } else if (const auto* const button = qobject_cast<const QAbstractButton*>(control)) {
            const int room = qobject_cast<const QRadioButton*>(button) != nullptr ? 22 : 8;
            EXPECT_LE(QFontMetrics(button->font()).horizontalAdvance(button->text()) + room,
                      button->width())
                << id;
        }
    }
}

TEST_P(SidebarTextTest, NoEntryOfAComboIsCutOff) {
    for (const QComboBox* const combo :
         {test::FindControl<QComboBox>(sidebar, ControlId::Provider),
          test::FindControl<QComboBox>(sidebar, ControlId::StereoMode)}) {
        for (int i = 0; i < combo->count(); ++i) {
            EXPECT_LE(QFontMetrics(combo->font()).horizontalAdvance(combo->itemText(i)) + 30,
                      combo->width());
        }
    }
}

TEST_P(SidebarTextTest, StatusTextsFitIntoTheirLabels) {
    for (const TextId text : {TextId::ConversionStarting, TextId::ConversionComplete,
                              TextId::ModelNeeded, TextId::WebViewFailed}) {
        sidebar.ShowStatus(Text(text));
        EXPECT_TRUE(dynamic_cast<const TextLabel&>(*Find(1034)).Fits()) << Text(text);
    }
    for (const TextId text : {TextId::DownloadStarting, TextId::DownloadComplete}) {
        sidebar.ShowDownloadStart(Text(text));
        EXPECT_TRUE(dynamic_cast<const TextLabel&>(*Find(1015)).Fits()) << Text(text);
    }
}

TEST_P(SidebarTextTest, TextsAreThoseOfTheTable) {
    const std::map<int, TextId> texts = {
        {1003, TextId::Batch},         {1010, TextId::ModelHeading}, {1013, TextId::DownloadModel},
        {1030, TextId::InputHeading},  {1031, TextId::DropHint},     {1032, TextId::SelectFile},
        {1035, TextId::ProviderLabel}, {1033, TextId::Generate},     {1040, TextId::ViewerHeading},
        {1041, TextId::SharpMode},     {1042, TextId::GeneralMode},  {1043, TextId::StereoLabel},
        {1049, TextId::Swap},          {1050, TextId::Reset},        {1051, TextId::SaveImage}};
    for (const auto& [id, text] : texts) {
        EXPECT_EQ(Find(id)->property("text").toString(), UiString(text)) << id;
    }
    for (int i = 0; i < kStereoModeCount; ++i) {
        EXPECT_EQ(test::FindControl<QComboBox>(sidebar, ControlId::StereoMode)->itemText(i),
                  UiString(kStereoModeTexts.at(static_cast<std::size_t>(i)).inList));
    }
    EXPECT_EQ(test::FindControl<QComboBox>(sidebar, ControlId::StereoMode)->count(),
              kStereoModeCount);
    EXPECT_EQ(test::FindControl<QComboBox>(sidebar, ControlId::Provider)->count(), 2);
    EXPECT_EQ(test::FindControl<QComboBox>(sidebar, ControlId::Provider)->itemText(1),
              "CUDA (nVidia)");
    EXPECT_EQ(Find(1001)->property("text").toString(), "Vistrel");
    EXPECT_EQ(Find(1002)->property("text").toString(), "?");
    EXPECT_EQ(Find(1012)->property("text").toString(), QString::fromUtf8("Select\u2026"));
}

TEST_P(SidebarTextTest, ScreenReadersSayTheTextsOfTheTable) {
    const std::map<int, TextId> texts = {
        {1002, TextId::MenuHelp},      {1003, TextId::Batch},
        {1010, TextId::ModelHeading},  {1011, TextId::ModelHeading},
        {1013, TextId::DownloadModel}, {1014, TextId::DownloadCaption},
        {1030, TextId::InputHeading},  {1032, TextId::SelectFile},
        {1033, TextId::Generate},      {1036, TextId::ProviderLabel},
        {1040, TextId::ViewerHeading}, {1044, TextId::StereoLabel},
        {1049, TextId::Swap},          {1050, TextId::Reset},
        {1051, TextId::SaveImage}};
    for (const auto& [id, text] : texts) {
        const QString wanted = SpokenText(UiString(text));
        EXPECT_EQ(Find(id)->accessibleName(), wanted) << id;
    }
    EXPECT_EQ(Find(1012)->accessibleName(),
              QString::fromUtf8("Select\u2026 ") + Find(1010)->accessibleName());
    EXPECT_EQ(Find(1046)->accessibleName(), "Focus");
    EXPECT_EQ(Find(1048)->accessibleName(), "Depth");
    // A combo box is known by its label, its list by its name.
    for (const auto& [label, combo] : {std::pair(1035, 1036), std::pair(1043, 1044)}) {
        EXPECT_EQ(qobject_cast<QLabel*>(Find(label))->buddy(), Find(combo));
        EXPECT_EQ(qobject_cast<QComboBox*>(Find(combo))->view()->accessibleName(),
                  Find(label)->property("text").toString());
    }
}

INSTANTIATE_TEST_SUITE_P(BothLanguages, SidebarTextTest, testing::Bool());

}  // namespace
}  // namespace vistrel
