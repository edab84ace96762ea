// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/web_view_bridge.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QMessageBox>
#include <QOpenGLWidget>
#include <QRect>
#include <QString>
#include <QTimer>
#include <chrono>
#include <span>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/log.h"
#include "base/new_file.h"
#include "base/text_encoding.h"
#include "base/user_folders.h"
#include "viewer/page_calls.h"
#include "viewer/page_path.h"
#include "viewer/web_view_loader.h"

namespace vistrel {
namespace {

// The page's console tells with this start why a scene is not shown.
constexpr std::wstring_view kSceneFailed = L"Cannot show the scene: ";
constexpr const wchar_t* kNoPicture = L"There is no picture";
constexpr std::chrono::seconds kLongestCapture(1);

// The browser is drawn by the graphics card, and a window learns only when it is made that it holds
// such a part. So it gets a hidden one. A program that shares no contexts has no browser.
void MakeWindowForBrowser(QWidget& host) {
    if (!QCoreApplication::testAttribute(Qt::AA_ShareOpenGLContexts)) return;
    auto* const part = new QOpenGLWidget(&host);
    part->hide();
}

}  // namespace

template <typename Callback>
auto WebViewBridge::WhileAlive(Callback callback) {
    return [alive = std::weak_ptr<char>(alive_), callback = std::move(callback)](auto&&... values) {
        if (!alive.expired()) callback(std::forward<decltype(values)>(values)...);
    };
}

WebViewBridge::WebViewBridge(std::wstring loaderMissingText, EnvironmentFactory factory)
    : loaderMissingText_(std::move(loaderMissingText)), factory_(std::move(factory)) {}

WebViewBridge::~WebViewBridge() {
    alive_.reset();
    Release();
}

void WebViewBridge::Prepare(QWidget* parent, const QRect& bounds) {
    Release();
    if (parent == nullptr) return;
    host_ = new QWidget(parent);
    host_->setObjectName("WebViewHost");
    host_->setGeometry(bounds);
    MakeWindowForBrowser(*host_);
    host_->show();
}

bool WebViewBridge::Initialize(const std::wstring& tempFolder, ReadyCallback onReady) {
    tempFolder_ = FolderInAddress(tempFolder);
    if (!host_) {
        onReady(false);
        return false;
    }

    const std::weak_ptr<char> alive = alive_;
    const EnvironmentFactory factory = FindFactory(host_->parentWidget());
    if (alive.expired()) return false;  // the message box lets the window be closed
    if (!factory) {
        onReady(false);
        return false;
    }

    const WebViewEnvironmentOptions options = {
        L"--allow-file-access-from-files --disable-web-security --allow-running-insecure-content",
        L"124.0.2478.35"};
    const bool started =
        factory(MakeBrowserFolder(), options,
                WhileAlive([this, onReady](std::unique_ptr<WebViewEnvironment> environment) {
                    OnEnvironment(std::move(environment), onReady);
                }));
    if (!started) onReady(false);
    return started;
}

void WebViewBridge::Release() {
    ready_ = false;
    openCaptures_ = 0;
    view_ = nullptr;
    controller_.reset();  // lives in the host window
    environment_.reset();
    delete host_;
}

EnvironmentFactory WebViewBridge::FindFactory(QWidget* owner) const {
    if (factory_) return factory_;
    if (auto* const factory = LoadWebViewFactory()) return factory;
    QMessageBox::critical(owner, "Vistrel", QString::fromStdWString(loaderMissingText_));
    return {};
}

void WebViewBridge::OnEnvironment(std::unique_ptr<WebViewEnvironment> environment,
                                  const ReadyCallback& ready) {
    if (!environment) {
        ready(false);
        return;
    }
    environment_ = std::move(environment);
    CreateControllerFromEnv(*environment_, ready);
}

void WebViewBridge::CreateControllerFromEnv(WebViewEnvironment& environment,
                                            const ReadyCallback& ready) {
    environment.CreateController(
        *host_, WhileAlive([this, ready](std::unique_ptr<WebViewController> controller) {
            OnController(std::move(controller), ready);
        }));
}

void WebViewBridge::OnController(std::unique_ptr<WebViewController> controller,
                                 const ReadyCallback& ready) {
    if (!controller) {
        ready(false);
        return;
    }
    controller_ = std::move(controller);
    view_ = &controller_->View();
    ApplySettings();
    controller_->SetBounds(host_->rect());
    RegisterNavCompleteHandler();
    RegisterProcessFailedHandler();
    RegisterConsoleHandler();
    ready_ = true;

    const std::weak_ptr<char> alive = alive_;
    ready(true);
    if (alive.expired()) return;
    view_->Navigate(BrowserAddress(StartPageUrl(tempFolder_)));
}

void WebViewBridge::ApplySettings() {
    WebViewSettings& settings = view_->Settings();
    settings.SetScriptEnabled(true);
    settings.SetDefaultScriptDialogsEnabled(false);
    settings.SetStatusBarEnabled(false);
    settings.SetWebMessageEnabled(true);
}

void WebViewBridge::RegisterNavCompleteHandler() {
    view_->SetNavigationCompletedHandler(WhileAlive([this](bool success) {
        DeliverPendingFile();
        if (success && onPageLoaded) onPageLoaded();
    }));
}

void WebViewBridge::RegisterProcessFailedHandler() {
    view_->SetProcessFailedHandler(WhileAlive([this](const std::wstring& reason) {
        LogInfoWide(L"  The browser view failed: " + reason);
        if (onProcessFailed) onProcessFailed(reason);
    }));
}

void WebViewBridge::RegisterConsoleHandler() {
    view_->SetConsoleMessageHandler(WhileAlive([this](const std::wstring& line) {
        if (!line.starts_with(kSceneFailed)) return;
        const std::wstring reason = line.substr(kSceneFailed.size());
        LogInfoWide(L"  The scene cannot be shown: " + reason);
        if (onSceneFailed) onSceneFailed(reason);
    }));
}

WebView* WebViewBridge::View() const {
    return view_;
}

void WebViewBridge::SetBounds(const QRect& bounds) {
    if (!host_) return;
    host_->setGeometry(bounds);
    if (controller_) controller_->SetBounds(host_->rect());
}

void WebViewBridge::SetVisible(bool visible) {
    if (controller_) controller_->SetVisible(visible);
    if (host_) host_->setVisible(visible);
}

void WebViewBridge::ShowScene(const std::wstring& path, bool sharp) {
    if (ready_ && view_ != nullptr) {
        view_->Navigate(BrowserAddress(BuildViewerUrl(path, sharp)));
    } else {
        pendingFile_ = path;
    }
}

void WebViewBridge::ExecJS(const std::wstring& script) {
    if (view_ == nullptr) return;
    view_->ExecuteScript(BrowserScript(script),
                         [](bool /*success*/, const std::wstring& /*result*/) {});
}

void WebViewBridge::SetStereoMode(int mode) {
    if (ready_) ExecJS(StereoModeCall(mode));
}

void WebViewBridge::SetFocusDepth(double focus, double depth) {
    if (ready_) ExecJS(FocusDepthCall(focus, depth));
}

void WebViewBridge::SetSwapEyes(bool swap) {
    if (ready_) ExecJS(SwapEyesCall(swap));
}

void WebViewBridge::DeliverPendingFile() {
    if (pendingFile_.empty()) return;
    const std::wstring path = std::exchange(pendingFile_, {});
    ExecJS(FileCall(path));
}

void WebViewBridge::CaptureImage(QWidget* /*owner*/, const std::wstring& path) {
    if (view_ == nullptr) {
        TellCaptureFailure(path, kNoPicture);
        return;
    }
    ++openCaptures_;
    view_->CapturePreview(WhileAlive([this, path](bool success, const std::vector<std::byte>& png) {
        OnCapture(path, success, png);
    }));
}

void WebViewBridge::OnCapture(const std::wstring& path, bool success,
                              const std::vector<std::byte>& png) {
    --openCaptures_;
    if (!success || png.empty()) {
        TellCaptureFailure(path, kNoPicture);
        return;
    }
    try {
        NewFile file(ToPath(path));
        file.Append(std::span(png));
        file.Commit();
    } catch (const std::system_error& error) {
        TellCaptureFailure(path, FromUtf8(error.code().message()));
    }
}

void WebViewBridge::TellCaptureFailure(const std::wstring& path, const std::wstring& reason) {
    LogInfoWide(L"  Cannot save the picture " + path + L": " + reason);
    if (onCaptureFailed) onCaptureFailed(reason);
}

void WebViewBridge::FinishCaptures() {
    WaitForCaptures();
    if (openCaptures_ == 0) return;
    SetVisible(false);
    WaitForCaptures();
}

void WebViewBridge::WaitForCaptures() {
    const QDeadlineTimer end(kLongestCapture);
    QTimer alarm;
    alarm.start(kLongestCapture);
    while (openCaptures_ > 0 && !end.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents |
                                        QEventLoop::WaitForMoreEvents);
    }
}

std::wstring WebViewBridge::BuildViewerUrl(const std::wstring& path, bool sharp) const {
    return SceneUrl(tempFolder_, path, sharp);
}

}  // namespace vistrel
