#include "shell/window/main_menu.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QMenu>
#include <QTimer>
#include <utility>

#include "ui/spoken_text.h"
#include "ui/ui_text.h"
#include "ui/wide_text.h"

namespace vistrel {
namespace {

constexpr int kStereoModes = 6;

ControlId StereoItem(int mode) {
    return static_cast<ControlId>(static_cast<int>(ControlId::MenuFirstStereoMode) + mode);
}

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
    QMenu* const menu = AddMenu(64);
    AddItem(menu, ControlId::MenuSelectFile, 65);
    AddItem(menu, ControlId::MenuBatch, 66);
    AddItem(menu, ControlId::MenuSaveImage, 67);
    menu->addSeparator();
    AddItem(menu, ControlId::MenuExit, 68);
}

void MainMenu::MakeViewMenu() {
    QMenu* const menu = AddMenu(69);
    AddItem(menu, ControlId::MenuSidePanel, 70)->setCheckable(true);
    AddItem(menu, ControlId::MenuFullScreen, 71)->setCheckable(true);
}

void MainMenu::MakeControlsMenu() {
    controls_ = AddMenu(72);
    QActionGroup* const viewModes = MakeRadioGroup(controls_);
    viewModes->addAction(AddItem(controls_, ControlId::MenuSharpMode, 73))->setCheckable(true);
    viewModes->addAction(AddItem(controls_, ControlId::MenuGeneralMode, 74))->setCheckable(true);
    controls_->addSeparator();

    QMenu* const stereo = controls_->addMenu(FromWide(Text(75)));
    Watch(stereo);
    QActionGroup* const stereoModes = MakeRadioGroup(stereo);
    for (int mode = 0; mode < kStereoModes; ++mode) {
        QAction* const item =
            AddItem(stereo, StereoItem(mode), static_cast<std::size_t>(76 + mode));
        stereoModes->addAction(item)->setCheckable(true);
    }

    controls_->addSeparator();
    AddItem(controls_, ControlId::MenuSwap, 82);
    AddItem(controls_, ControlId::MenuReset, 83);
}

void MainMenu::MakeHelpMenu() {
    QMenu* const menu = AddMenu(84);
    AddItem(menu, ControlId::MenuHelp, 85);
    AddItem(menu, ControlId::MenuAbout, 86);
}

QMenu* MainMenu::AddMenu(std::size_t slot) {
    QMenu* const menu = addMenu(FromWide(Text(slot)));
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

QAction* MainMenu::AddItem(QMenu* menu, ControlId id, std::size_t slot) {
    QAction* const item = menu->addAction(FromWide(Text(slot)));
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
    for (int mode = 0; mode < kStereoModes; ++mode) {
        items_.at(StereoItem(mode))->setChecked(mode == state.stereoMode);
    }
}

}  // namespace vistrel
