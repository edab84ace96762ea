// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/main_menu.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QMenu>
#include <QTimer>
#include <utility>

#include "ui/ui_text.h"

namespace vistrel {
namespace {

// Its items get a mark of the radio kind, and one of them at most has it.
QActionGroup* MakeRadioGroup(QMenu* menu) {
    auto* const group = new QActionGroup(menu);
    group->setExclusionPolicy(QActionGroup::ExclusionPolicy::ExclusiveOptional);
    return group;
}

}  // namespace

MainMenu::MainMenu(QWidget* parent, std::function<void(ControlId)> onCommand,
                   std::function<void()> onShow, std::function<void()> onHide)
    : QMenuBar(parent),
      onCommand_(std::move(onCommand)),
      onShow_(std::move(onShow)),
      onHide_(std::move(onHide)) {
    setNativeMenuBar(false);  // part of the window, on every desktop
    MakeFileMenu();
    MakeViewMenu();
    MakeControlsMenu();
    MakeHelpMenu();
}

void MainMenu::MakeFileMenu() {
    QMenu* const menu = AddMenu(TextId::FileMenu);
    AddItem(menu, ControlId::MenuSelectFile, TextId::MenuSelectFile);
    AddItem(menu, ControlId::MenuBatch, TextId::MenuBatch);
    AddItem(menu, ControlId::MenuSaveImage, TextId::MenuSaveImage);
    menu->addSeparator();
    AddItem(menu, ControlId::MenuExit, TextId::MenuExit);
}

void MainMenu::MakeViewMenu() {
    QMenu* const menu = AddMenu(TextId::ViewMenu);
    AddItem(menu, ControlId::MenuSidePanel, TextId::MenuSidePanel)->setCheckable(true);
    AddItem(menu, ControlId::MenuFullScreen, TextId::MenuFullScreen)->setCheckable(true);
}

void MainMenu::MakeControlsMenu() {
    controls_ = AddMenu(TextId::ControlsMenu);
    QActionGroup* const viewModes = MakeRadioGroup(controls_);
    viewModes->addAction(AddItem(controls_, ControlId::MenuSharpMode, TextId::MenuSharpMode))
        ->setCheckable(true);
    viewModes->addAction(AddItem(controls_, ControlId::MenuGeneralMode, TextId::MenuGeneralMode))
        ->setCheckable(true);
    controls_->addSeparator();

    QMenu* const stereo = controls_->addMenu(UiString(TextId::StereoMenu));
    Watch(stereo);
    QActionGroup* const stereoModes = MakeRadioGroup(stereo);
    for (std::int32_t mode = 0; mode < kStereoModeCount; ++mode) {
        const StereoModeTexts& texts = kStereoModeTexts.at(static_cast<std::size_t>(mode));
        QAction* const item = AddItem(stereo, StereoModeItem(mode), texts.inMenu);
        stereoModes->addAction(item)->setCheckable(true);
    }

    controls_->addSeparator();
    AddItem(controls_, ControlId::MenuSwap, TextId::MenuSwap);
    AddItem(controls_, ControlId::MenuReset, TextId::MenuReset);
}

void MainMenu::MakeHelpMenu() {
    QMenu* const menu = AddMenu(TextId::HelpMenu);
    AddItem(menu, ControlId::MenuHelp, TextId::MenuHelp);
    AddItem(menu, ControlId::MenuAbout, TextId::MenuAbout);
}

QMenu* MainMenu::AddMenu(TextId text) {
    QMenu* const menu = addMenu(UiString(text));
    Watch(menu);
    return menu;
}

void MainMenu::Watch(QMenu* menu) {
    menu->setAccessibleName(SpokenText(menu->title()));
    connect(menu, &QMenu::aboutToShow, this, [this] { onShow_(); });
    // Going from one menu to the next hides the first before it shows the second.
    connect(menu, &QMenu::aboutToHide, this, [this] {
        QTimer::singleShot(0, this, [this] {
            if (QApplication::activePopupWidget() == nullptr) onHide_();
        });
    });
}

QAction* MainMenu::AddItem(QMenu* menu, ControlId id, TextId text) {
    QAction* const item = menu->addAction(UiString(text));
    item->setObjectName(QString::number(static_cast<int>(id)));
    connect(item, &QAction::triggered, this, [this, id] { onCommand_(id); });
    items_[id] = item;
    return item;
}

void MainMenu::UpdateMenuState(const MenuState& state) {
    items_.at(ControlId::MenuSaveImage)->setEnabled(state.sceneLoaded);
    items_.at(ControlId::MenuSidePanel)->setChecked(state.sidebarShown);
    items_.at(ControlId::MenuFullScreen)->setChecked(state.fullScreen);
    for (QAction* const item : controls_->actions()) item->setEnabled(state.sceneLoaded);
    if (!state.sceneLoaded) return;
    items_.at(ControlId::MenuSharpMode)->setChecked(state.sharpMode);
    items_.at(ControlId::MenuGeneralMode)->setChecked(!state.sharpMode);
    for (std::int32_t mode = 0; mode < kStereoModeCount; ++mode) {
        items_.at(StereoModeItem(mode))->setChecked(mode == state.stereoMode);
    }
}

}  // namespace vistrel
