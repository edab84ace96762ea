// SPDX-License-Identifier: GPL-3.0-or-later
// What the loader library exports, and the environment and the controller behind it.
#include <QCoreApplication>
#include <QLoggingCategory>
#include <QPointer>
#include <QRect>
#include <QWebEngineView>
#include <QWidget>
#include <QtGlobal>
#include <memory>
#include <utility>

#include "viewer/loader/later.h"
#include "viewer/loader/profile.h"
#include "viewer/loader/sandbox.h"
#include "viewer/loader/switches.h"
#include "viewer/loader/view.h"
#include "viewer/web_view.h"

namespace vistrel::loader {
namespace {

class Controller final : public WebViewController {
  public:
    Controller(QWidget& host, std::shared_ptr<Profile> profile) : view_(host, std::move(profile)) {
        SetBounds(QRect());
        SetVisible(true);
    }

    WebView& View() override { return view_; }
    void SetBounds(const QRect& bounds) override { view_.SetBounds(bounds); }
    void SetVisible(bool visible) override { view_.SetVisible(visible); }

  private:
    loader::View view_;
};

class Environment final : public WebViewEnvironment {
  public:
    Environment(const std::wstring& userDataFolder, const WebViewEnvironmentOptions& options) {
        const Switches switches(options.additionalBrowserArguments);
        profile_ = Profile::Make(userDataFolder);
    }

    void CreateController(QWidget& host, ControllerCreated completed) override {
        later_.Post([this, parent = QPointer<QWidget>(&host), completed = std::move(completed)] {
            completed(parent ? std::make_unique<Controller>(*parent, profile_) : nullptr);
        });
    }

  private:
    std::shared_ptr<Profile> profile_;
    Later later_;
};

bool CanStart() {
    if (QCoreApplication::instance() == nullptr ||
        !QCoreApplication::testAttribute(Qt::AA_ShareOpenGLContexts)) {
        qWarning("The browser needs an application that shares its OpenGL contexts");
        return false;
    }
    return SandboxAllowsStart();
}

}  // namespace
}  // namespace vistrel::loader

// The names are those of the platform that the interface stands for.
extern "C" {

Q_DECL_EXPORT vistrel::WebViewInterfaceNumberFunction VistrelWebViewInterfaceNumber;
Q_DECL_EXPORT vistrel::CreateWebViewEnvironmentFunction CreateCoreWebView2EnvironmentWithOptions;

std::uint32_t VistrelWebViewInterfaceNumber() {
    return vistrel::kWebViewInterfaceNumber;
}

bool CreateCoreWebView2EnvironmentWithOptions(const std::wstring& userDataFolder,
                                              const vistrel::WebViewEnvironmentOptions& options,
                                              vistrel::EnvironmentCreated completed) {
    using vistrel::loader::Later;
    if (!vistrel::loader::CanStart()) return false;
    // The browser tells its switches at every start otherwise; QT_LOGGING_RULES still counts.
    QLoggingCategory::setFilterRules(QStringLiteral("qt.webenginecontext.info=false"));
    // No object is there yet that could be destroyed, so this one call always comes.
    const auto later = std::make_shared<Later>();
    later->Post([later, userDataFolder, options, completed = std::move(completed)] {
        completed(std::make_unique<vistrel::loader::Environment>(userDataFolder, options));
    });
    return true;
}

}  // extern "C"
