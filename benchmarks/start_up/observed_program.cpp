// SPDX-License-Identifier: GPL-3.0-or-later
// The program itself, which tells when its window is shown and its page is ready, and then ends.
#include <QApplication>
#include <QRect>
#include <memory>
#include <utility>

#include "benchmarks/start_up/milestones.h"
#include "shell/start/program.h"
#include "viewer/web_view_loader.h"

namespace vistrel {
namespace {

class ObservedView : public WebView {
  public:
    ObservedView(WebView& view, Milestones& milestones) : view_(view), milestones_(milestones) {}

    WebViewSettings& Settings() override { return view_.Settings(); }
    void Navigate(const std::wstring& url) override { view_.Navigate(url); }
    void ExecuteScript(const std::wstring& script, ScriptCompleted completed) override {
        view_.ExecuteScript(script, std::move(completed));
    }
    void CapturePreview(CaptureCompleted completed) override {
        view_.CapturePreview(std::move(completed));
    }
    void SetNavigationCompletedHandler(NavigationCompleted handler) override {
        view_.SetNavigationCompletedHandler([this, handler = std::move(handler)](bool success) {
            handler(success);
            milestones_.PageIsReady();
        });
    }
    void SetProcessFailedHandler(ProcessFailed handler) override {
        view_.SetProcessFailedHandler(std::move(handler));
    }
    void SetConsoleMessageHandler(ConsoleMessage handler) override {
        view_.SetConsoleMessageHandler(std::move(handler));
    }

  private:
    WebView& view_;
    Milestones& milestones_;
};

class ObservedController : public WebViewController {
  public:
    ObservedController(std::unique_ptr<WebViewController> controller, Milestones& milestones)
        : controller_(std::move(controller)), view_(controller_->View(), milestones) {}

    WebView& View() override { return view_; }
    void SetBounds(const QRect& bounds) override { controller_->SetBounds(bounds); }
    void SetVisible(bool visible) override { controller_->SetVisible(visible); }

  private:
    std::unique_ptr<WebViewController> controller_;
    ObservedView view_;
};

class ObservedEnvironment : public WebViewEnvironment {
  public:
    ObservedEnvironment(std::unique_ptr<WebViewEnvironment> environment, Milestones& milestones)
        : environment_(std::move(environment)), milestones_(milestones) {}

    void CreateController(QWidget& host, ControllerCreated completed) override {
        environment_->CreateController(
            host, [this, completed = std::move(completed)](auto controller) {
                completed(std::make_unique<ObservedController>(std::move(controller), milestones_));
            });
    }

  private:
    std::unique_ptr<WebViewEnvironment> environment_;
    Milestones& milestones_;
};

bool MakeEnvironment(Milestones& milestones, const std::wstring& userDataFolder,
                     const WebViewEnvironmentOptions& options, EnvironmentCreated completed) {
    return LoadWebViewFactory()(
        userDataFolder, options, [&milestones, completed = std::move(completed)](auto environment) {
            completed(std::make_unique<ObservedEnvironment>(std::move(environment), milestones));
        });
}

Milestones* milestonesOfProgram = nullptr;

void WatchApplication() {
    qApp->installEventFilter(milestonesOfProgram);
}

}  // namespace
}  // namespace vistrel

int main(int argc, char** argv) {
    vistrel::Milestones milestones;
    vistrel::milestonesOfProgram = &milestones;
    qAddPreRoutine(vistrel::WatchApplication);
    vistrel::MainWindowServices services;
    services.browser = [&milestones](const std::wstring& folder, const auto& options,
                                     vistrel::EnvironmentCreated completed) {
        return vistrel::MakeEnvironment(milestones, folder, options, std::move(completed));
    };
    return vistrel::RunVistrel(argc, argv, services);
}
