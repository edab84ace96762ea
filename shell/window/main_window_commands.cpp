// What the main window does on commands and keys.
#include <Qt>

#include "shell/window/key_filter.h"
#include "shell/window/main_window.h"
#include "shell/window/main_window_parts.h"

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
            return parts_->dialogs->OpenHelp(parts_->appDir);
        case ControlId::MenuAbout:
            return parts_->dialogs->TellAbout();
        case ControlId::Batch:
        case ControlId::MenuBatch:
            return RunBatch();
        case ControlId::SelectModel:
            return ChooseModel();
        case ControlId::DownloadModel:
            return parts_->download.StartModelDownload();
        case ControlId::SelectFile:
        case ControlId::MenuSelectFile:
            return OpenFile();
        case ControlId::Generate:
            return parts_->generate.RunGenerate();
        case ControlId::Provider:
            parts_->settings.executionProvider = value;
            return parts_->settings.Save();
        case ControlId::SharpMode:
        case ControlId::GeneralMode:
        case ControlId::MenuSharpMode:
        case ControlId::MenuGeneralMode:
            return SetViewMode(id == ControlId::SharpMode || id == ControlId::MenuSharpMode);
        case ControlId::StereoMode:
            return SetStereoMode(value);
        case ControlId::Focus:
            parts_->settings.focus = value;
            return PassFocusDepth();
        case ControlId::Depth:
            parts_->settings.depth = value;
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
            if (parts_->sceneLoaded) SaveImage();
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
    if (const auto path = parts_->dialogs->AskPhotographOrScene()) SelectFile(*path);
}

void MainWindow::ChooseModel() {
    const auto path = parts_->dialogs->AskModel(parts_->settings.modelPath);
    if (!path) return;
    parts_->settings.modelPath = *path;
    UpdateModelDisplay();
}

void MainWindow::SetViewMode(bool sharp) {
    parts_->settings.isSharpMode = sharp;
    parts_->sidebar->SetViewMode(sharp);
    if (parts_->sceneLoaded) LoadScene(std::wstring(parts_->currentScenePath));
}

void MainWindow::SetStereoMode(int mode) {
    parts_->settings.stereoMode = mode;
    parts_->sidebar->SetStereoMode(mode);
    parts_->bridge.SetStereoMode(mode);
}

void MainWindow::Reset() {
    parts_->settings.focus = kFirstFocus;
    parts_->settings.depth = kFirstDepth;
    PassFocusDepth();
}

void MainWindow::PassFocusDepth() {
    const AppSettings& settings = parts_->settings;
    parts_->sidebar->SetFocusDepth(settings.focus, settings.depth);
    parts_->bridge.SetFocusDepth(settings.focus, settings.depth);
}

void MainWindow::Swap() {
    parts_->settings.isSwapped = !parts_->settings.isSwapped;
    parts_->bridge.SetSwapEyes(parts_->settings.isSwapped);
}

void MainWindow::SaveImage() {
    if (const auto path = parts_->dialogs->AskPictureToSave()) {
        parts_->bridge.CaptureImage(nullptr, *path);
    }
}

void MainWindow::RunBatch() {
    if (parts_->services.runBatch) {
        parts_->services.runBatch(this, parts_->engine, parts_->settings);
    }
}

}  // namespace vistrel
