// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/main_menu.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QActionGroup>
#include <QCoreApplication>
#include <QKeySequence>
#include <QMenu>
#include <QShortcut>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "ui/ui_text.h"

namespace vistrel {
namespace {

// Number and text of each item; number 0 is a separator, -1 a submenu.
using Items = std::vector<std::pair<int, std::string>>;

Items ItemsOf(const QMenu* menu) {
    Items items;
    for (const QAction* const item : menu->actions()) {
        const int id = item->isSeparator()       ? 0
                       : item->menu() != nullptr ? -1
                                                 : item->objectName().toInt();
        items.emplace_back(id, item->text().toStdString());
    }
    return items;
}

class MainMenuTest : public testing::Test {
  protected:
    ~MainMenuTest() override { gUiText = nullptr; }

    [[nodiscard]] QMenu* Bar(int i) const { return menu.actions().at(i)->menu(); }
    [[nodiscard]] QMenu* Stereo() const { return Bar(2)->actions().at(3)->menu(); }
    [[nodiscard]] QAction* Item(int id) const {
        return menu.findChild<QAction*>(QString::number(id));
    }
    [[nodiscard]] std::vector<int> Checked() const {
        std::vector<int> checked;
        for (int id = 4000; id < 4060; ++id) {
            if (Item(id) != nullptr && Item(id)->isChecked()) checked.push_back(id);
        }
        return checked;
    }
    [[nodiscard]] std::vector<int> Grayed() const {
        std::vector<int> grayed;
        for (int id = 4000; id < 4060; ++id) {
            if (Item(id) != nullptr && !Item(id)->isEnabled()) grayed.push_back(id);
        }
        return grayed;
    }

    std::vector<int> commands;
    int shown = 0;
    int hidden = 0;
    MainMenu menu{nullptr, [this](ControlId id) { commands.push_back(static_cast<int>(id)); },
                  [this] { ++shown; }, [this] { ++hidden; }};
};

TEST_F(MainMenuTest, ItemsAreInTheirOrder) {
    ASSERT_EQ(menu.actions().size(), 4);
    EXPECT_EQ(menu.actions().at(0)->text(), "&File");
    EXPECT_EQ(menu.actions().at(1)->text(), "&View");
    EXPECT_EQ(menu.actions().at(2)->text(), "&Controls");
    EXPECT_EQ(menu.actions().at(3)->text(), "&Help");
    EXPECT_EQ(ItemsOf(Bar(0)), (Items{{4001, "Select &File..."},
                                      {4004, "&Batch Conversion..."},
                                      {4002, "Save &Image\tS"},
                                      {0, ""},
                                      {4003, "E&xit\tQ"}}));
    EXPECT_EQ(ItemsOf(Bar(1)), (Items{{4010, "Side &Panel\tC"}, {4011, "&Full Screen\tEnter"}}));
    EXPECT_EQ(ItemsOf(Bar(2)), (Items{{4020, "&Sharp Mode"},
                                      {4021, "&General Mode"},
                                      {0, ""},
                                      {-1, "&Stereo Mode"},
                                      {0, ""},
                                      {4040, "S&wap L/R\tX"},
                                      {4041, "&Reset"}}));
    EXPECT_EQ(ItemsOf(Stereo()), (Items{{4030, "Side-by-Side (SBS)"},
                                        {4031, "LR/RL"},
                                        {4032, "Dubois"},
                                        {4033, "Color Anaglyph"},
                                        {4034, "Gray Anaglyph"},
                                        {4035, "Interlaced"}}));
    EXPECT_EQ(ItemsOf(Bar(3)), (Items{{4050, "&Help"}, {4051, "&About..."}}));
}

TEST(MainMenu, JapaneseTextsKeepMnemonicsAndKeys) {
    gUiText = &kJapaneseText;
    const MainMenu menu(nullptr, [](ControlId) {}, [] {}, [] {});
    gUiText = nullptr;
    const auto texts = [&menu](int i) {
        std::vector<std::string> all = {menu.actions().at(i)->text().toStdString()};
        for (const auto& item : ItemsOf(menu.actions().at(i)->menu())) all.push_back(item.second);
        return all;
    };
    using Texts = std::vector<std::string>;
    EXPECT_EQ(texts(0), (Texts{"ファイル(&F)", "ファイルを選択(&F)...", "一括変換(&B)...",
                               "画像を保存(&I)\tS", "", "終了(&X)\tQ"}));
    EXPECT_EQ(texts(1), (Texts{"表示(&V)", "サイドパネル(&P)\tC", "全画面(&F)\tEnter"}));
    EXPECT_EQ(texts(2), (Texts{"コントロール(&C)", "SHARPモード(&S)", "汎用モード(&G)", "",
                               "ステレオモード(&T)", "", "左右入替(&W)\tX", "リセット(&R)"}));
    EXPECT_EQ(texts(3), (Texts{"ヘルプ(&H)", "ヘルプ(&H)", "バージョン情報(&A)..."}));
}

TEST_F(MainMenuTest, ShownKeysDoNothingOfThemselves) {
    for (const QAction* const action : menu.findChildren<QAction*>()) {
        EXPECT_TRUE(action->shortcuts().isEmpty()) << action->text().toStdString();
    }
    EXPECT_TRUE(menu.findChildren<QShortcut*>().isEmpty());
}

TEST_F(MainMenuTest, EveryItemGivesItsCommand) {
    menu.UpdateMenuState({.sceneLoaded = true});
    std::vector<int> expected;
    for (int id = 4000; id < 4060; ++id) {
        if (Item(id) == nullptr) continue;
        Item(id)->trigger();
        expected.push_back(id);
    }
    EXPECT_EQ(commands, expected);
    EXPECT_FALSE(expected.empty());
}

TEST_F(MainMenuTest, ControlsAreGrayedWithoutAScene) {
    menu.UpdateMenuState({.sceneLoaded = false});
    EXPECT_EQ(Grayed(), (std::vector<int>{4002, 4020, 4021, 4040, 4041}));
    EXPECT_FALSE(Stereo()->menuAction()->isEnabled());
}

TEST_F(MainMenuTest, EverythingCanBeChosenWithAScene) {
    menu.UpdateMenuState({.sceneLoaded = true});
    EXPECT_TRUE(Grayed().empty());
    EXPECT_TRUE(Stereo()->menuAction()->isEnabled());
}

TEST_F(MainMenuTest, WithoutASceneNothingOfTheViewerIsMarked) {
    menu.UpdateMenuState({.sceneLoaded = false, .stereoMode = 2});
    EXPECT_EQ(Checked(), std::vector<int>{4010});
}

TEST_F(MainMenuTest, MarksFollowTheState) {
    menu.UpdateMenuState({.sceneLoaded = true, .stereoMode = 2});
    EXPECT_EQ(Checked(), (std::vector<int>{4010, 4020, 4032}));
    menu.UpdateMenuState({.sceneLoaded = true,
                          .sidebarShown = false,
                          .fullScreen = true,
                          .sharpMode = false,
                          .stereoMode = 5});
    EXPECT_EQ(Checked(), (std::vector<int>{4011, 4021, 4035}));
}

TEST_F(MainMenuTest, StereoModeThatThereIsNotMarksNone) {
    menu.UpdateMenuState({.sceneLoaded = true, .stereoMode = 3});
    menu.UpdateMenuState({.sceneLoaded = true, .stereoMode = kStereoModeCount});
    EXPECT_EQ(Checked(), (std::vector<int>{4010, 4020}));
}

TEST_F(MainMenuTest, ViewAndStereoModesHaveRadioMarks) {
    for (const int id : {4020, 4021, 4030, 4035}) {
        ASSERT_NE(Item(id)->actionGroup(), nullptr) << id;
        EXPECT_TRUE(Item(id)->actionGroup()->isExclusive()) << id;
    }
    for (const int id : {4010, 4011}) EXPECT_EQ(Item(id)->actionGroup(), nullptr) << id;
}

TEST_F(MainMenuTest, StatesAreAskedForBeforeAnyMenuIsShown) {
    for (QMenu* const each : {Bar(0), Bar(1), Bar(2), Bar(3), Stereo()}) {
        shown = 0;
        emit each->aboutToShow();
        EXPECT_EQ(shown, 1);
    }
}

TEST_F(MainMenuTest, ClosingAMenuIsTold) {
    emit Bar(0)->aboutToHide();
    QCoreApplication::processEvents();
    EXPECT_EQ(hidden, 1);
}

TEST_F(MainMenuTest, GoingFromOneMenuToTheNextClosesNone) {
    emit Bar(0)->aboutToHide();
    Bar(1)->popup({0, 0});
    QCoreApplication::processEvents();
    EXPECT_EQ(hidden, 0);
    Bar(1)->close();
    QCoreApplication::processEvents();
    EXPECT_EQ(hidden, 1);
}

}  // namespace
}  // namespace vistrel
