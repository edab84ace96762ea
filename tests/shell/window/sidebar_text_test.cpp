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
#include "ui/settings.h"
#include "ui/spoken_text.h"
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
    for (const QComboBox* const combo : {sidebar.provider, sidebar.stereoMode}) {
        for (int i = 0; i < combo->count(); ++i) {
            EXPECT_LE(QFontMetrics(combo->font()).horizontalAdvance(combo->itemText(i)) + 30,
                      combo->width());
        }
    }
}

TEST_P(SidebarTextTest, StatusTextsFitIntoTheirLabels) {
    for (const unsigned slot : {26U, 27U, 29U, 30U}) {
        sidebar.generateStatus->setText(QString::fromWCharArray(Text(slot)));
        EXPECT_TRUE(dynamic_cast<const TextLabel&>(*sidebar.generateStatus).Fits()) << slot;
    }
    for (const unsigned slot : {23U, 24U}) {
        sidebar.downloadStatus->setText(QString::fromWCharArray(Text(slot)));
        EXPECT_TRUE(dynamic_cast<const TextLabel&>(*sidebar.downloadStatus).Fits()) << slot;
    }
}

TEST_P(SidebarTextTest, TextsAreThoseOfTheTable) {
    const std::map<int, std::size_t> texts = {
        {1003, 63}, {1010, 0}, {1013, 44}, {1030, 1},  {1031, 3},  {1032, 4},  {1035, 5}, {1033, 8},
        {1040, 2},  {1041, 9}, {1042, 10}, {1043, 11}, {1049, 14}, {1050, 15}, {1051, 16}};
    for (const auto& [id, slot] : texts) {
        EXPECT_EQ(Find(id)->property("text").toString(), QString::fromWCharArray(Text(slot))) << id;
    }
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(sidebar.stereoMode->itemText(i),
                  QString::fromWCharArray(Text(static_cast<std::size_t>(17 + i))));
    }
    EXPECT_EQ(sidebar.stereoMode->count(), 6);
    EXPECT_EQ(sidebar.provider->count(), 2);
    EXPECT_EQ(sidebar.provider->itemText(1), "CUDA (nVidia)");
    EXPECT_EQ(Find(1001)->property("text").toString(), "Vistrel");
    EXPECT_EQ(Find(1002)->property("text").toString(), "?");
    EXPECT_EQ(Find(1012)->property("text").toString(), QString::fromUtf8("Select\u2026"));
}

TEST_P(SidebarTextTest, ScreenReadersSayTheTextsOfTheTable) {
    const std::map<int, std::size_t> texts = {
        {1002, 85}, {1003, 63}, {1010, 0}, {1011, 0},  {1013, 44}, {1014, 32}, {1030, 1}, {1032, 4},
        {1033, 8},  {1036, 5},  {1040, 2}, {1044, 11}, {1049, 14}, {1050, 15}, {1051, 16}};
    for (const auto& [id, slot] : texts) {
        const QString wanted = SpokenText(QString::fromWCharArray(Text(slot)));
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
