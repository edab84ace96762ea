// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/viewer_area.h"

#include <QRect>
#include <utility>

#include "shell/window/focus_frame.h"
#include "shell/window/preview.h"
#include "shell/window/viewer_messages.h"
#include "ui/ui_text.h"

namespace vistrel {

ViewerArea::ViewerArea(QWidget* client, QWidget* sidebar, std::wstring webDir,
                       EnvironmentFactory browser)
    : client_(client),
      webDir_(std::move(webDir)),
      preview_(new Preview(client)),
      focus_(new FocusFrame(client, sidebar)),
      bridge_(Text(TextId::LoaderMissing), std::move(browser)),
      sceneLink_(webDir_) {
    bridge_.onPageLoaded = [this] {
        if (sceneLoaded_ && onPageLoaded) onPageLoaded();
    };
    bridge_.onSceneFailed = [this](const std::wstring& reason) {
        Tell(SceneFailedMessage(reason));
    };
    bridge_.onProcessFailed = [this](const std::wstring& /*reason*/) {
        Tell(ViewerEndedMessage());
    };
    bridge_.onCaptureFailed = [this](const std::wstring& reason) {
        Tell(PictureFailedMessage(reason));
    };
}

void ViewerArea::Tell(const std::wstring& text) const {
    if (onFailure) onFailure(text);
}

void ViewerArea::Prepare(const QRect& bounds) {
    bridge_.Prepare(client_, bounds);
    focus_->raise();
}

void ViewerArea::Start(WebViewBridge::ReadyCallback onReady) {
    bridge_.Initialize(webDir_, std::move(onReady));
}

void ViewerArea::SetBounds(const QRect& bounds) {
    preview_->setGeometry(bounds);
    focus_->setGeometry(bounds);
    bridge_.SetBounds(bounds);
}

void ViewerArea::UpdateVisibility() {
    bridge_.SetVisible(sceneLoaded_);
}

void ViewerArea::ShowPhotograph(const std::wstring& path) {
    sceneLoaded_ = false;
    preview_->Show(path);
    UpdateVisibility();
}

void ViewerArea::ShowScene(std::wstring path, bool sharp) {
    sceneLoaded_ = true;
    currentScenePath_ = std::move(path);
    preview_->Clear();
    UpdateVisibility();
    bridge_.ShowScene(sceneLink_.PathFor(currentScenePath_), sharp);
}

bool ViewerArea::IsReading() const {
    return preview_->IsReading();
}

}  // namespace vistrel
