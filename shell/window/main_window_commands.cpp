// SPDX-License-Identifier: GPL-3.0-or-later
// What the main window does on commands and keys.
#include <Qt>

#include "shell/window/key_filter.h"
#include "shell/window/main_window.h"
#include "shell/window/sidebar.h"
#include "shell/window/window_dialogs.h"

namespace vistrel {
namespace {

constexpr double kFirstFocus = 0.0;
constexpr double kFirstDepth = 30.0;

}  // namespace

void MainWindow::OnKeyDown(int key) {
    if (FocusTakesKeys()) return;
    switch (key) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
        case Qt::Key_F11:
            return ToggleFullScreen();
        case Qt::Key_C:
            return ToggleSidebar();
        case Qt::Key_Q:
            return Destroy();
        case Qt::Key_S:
            return OnCommand(ControlId::MenuSaveImage);
        case Qt::Key_X:
            return Swap();
        default:
            return;
    }
}

void MainWindow::OnCommand(ControlId id, int value) {
    switch (id) {
        case ControlId::Help:
        case ControlId::MenuHelp:
            return dialogs_->OpenHelp(appDir_);
        case ControlId::MenuAbout:
            return dialogs_->TellAbout();
        case ControlId::Batch:
        case ControlId::MenuBatch:
            return RunBatch();
        case ControlId::SelectModel:
            return ChooseModel();
        case ControlId::DownloadModel:
            return download_.StartModelDownload();
        case ControlId::SelectFile:
        case ControlId::MenuSelectFile:
            return OpenFile();
        case ControlId::Generate:
            return generate_.RunGenerate();
        case ControlId::Provider:
            settings_.executionProvider = value;
            return settings_.Save();
        case ControlId::SharpMode:
        case ControlId::GeneralMode:
        case ControlId::MenuSharpMode:
        case ControlId::MenuGeneralMode:
            return SetViewMode(id == ControlId::SharpMode || id == ControlId::MenuSharpMode);
        case ControlId::StereoMode:
            return SetStereoMode(value);
        case ControlId::Focus:
            settings_.focus = value;
            return PassFocusDepth();
        case ControlId::Depth:
            settings_.depth = value;
            return PassFocusDepth();
        case ControlId::Swap:
        case ControlId::MenuSwap:
            return Swap();
        case ControlId::Reset:
        case ControlId::MenuReset:
            return Reset();
        case ControlId::SaveImage:
            return SaveImage();
        case ControlId::MenuSaveImage:
            if (viewer_.SceneLoaded()) SaveImage();
            return;
        case ControlId::MenuExit:
            return Destroy();
        case ControlId::MenuSidePanel:
            return ToggleSidebar();
        case ControlId::MenuFullScreen:
            return ToggleFullScreen();
        default:
            if (const auto mode = StereoModeOfItem(id)) SetStereoMode(*mode);
            return;
    }
}

void MainWindow::OpenFile() {
    if (const auto path = dialogs_->AskPhotographOrScene()) SelectFile(*path);
}

void MainWindow::ChooseModel() {
    const auto path = dialogs_->AskModel(settings_.modelPath);
    if (!path) return;
    settings_.modelPath = *path;
    UpdateModelDisplay();
}

void MainWindow::SetViewMode(bool sharp) {
    settings_.isSharpMode = sharp;
    sidebar_->SetViewMode(sharp);
    if (viewer_.SceneLoaded()) LoadScene(viewer_.CurrentScenePath());
}

void MainWindow::SetStereoMode(std::int32_t mode) {
    settings_.stereoMode = mode;
    sidebar_->SetStereoMode(mode);
    viewer_.SetStereoMode(mode);
}

void MainWindow::Reset() {
    settings_.focus = kFirstFocus;
    settings_.depth = kFirstDepth;
    PassFocusDepth();
}

void MainWindow::PassFocusDepth() {
    sidebar_->SetFocusDepth(settings_.focus, settings_.depth);
    viewer_.SetFocusDepth(settings_.focus, settings_.depth);
}

void MainWindow::PassStereo() {
    viewer_.SetStereoMode(settings_.stereoMode);
    viewer_.SetSwapEyes(settings_.isSwapped);
}

void MainWindow::Swap() {
    settings_.isSwapped = !settings_.isSwapped;
    viewer_.SetSwapEyes(settings_.isSwapped);
}

void MainWindow::SaveImage() {
    if (const auto path = dialogs_->AskPictureToSave()) {
        viewer_.CaptureImage(*path);
    }
}

void MainWindow::RunBatch() {
    if (services_.runBatch) {
        services_.runBatch(this, engine_, settings_);
    }
}

}  // namespace vistrel
