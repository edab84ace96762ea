// SPDX-License-Identifier: GPL-3.0-or-later
// One browser in a host window.
#pragma once

#include <QPointer>
#include <map>
#include <memory>

#include "viewer/loader/capture.h"
#include "viewer/loader/later.h"
#include "viewer/loader/page.h"
#include "viewer/loader/profile.h"
#include "viewer/web_view.h"

class QRect;
class QWebEngineView;

namespace vistrel::loader {

class View final : public WebView, private WebViewSettings {
  public:
    // `host` becomes the parent of the browser's widget, which is shown with it.
    View(QWidget& host, std::shared_ptr<Profile> profile);
    // Calls nobody any more, also while it waits for the page.
    ~View() override;

    // In coordinates of the host.
    void SetBounds(const QRect& bounds);
    void SetVisible(bool visible);

    WebViewSettings& Settings() override { return *this; }
    void Navigate(const std::wstring& url) override;
    void ExecuteScript(const std::wstring& script, ScriptCompleted completed) override;
    void CapturePreview(CaptureCompleted completed) override;
    void SetNavigationCompletedHandler(NavigationCompleted handler) override;
    void SetProcessFailedHandler(ProcessFailed handler) override;
    void SetConsoleMessageHandler(ConsoleMessage handler) override;

  private:
    void SetScriptEnabled(bool enabled) override;
    void SetDefaultScriptDialogsEnabled(bool enabled) override;
    void SetStatusBarEnabled(bool enabled) override;
    void SetWebMessageEnabled(bool enabled) override;

    void OnLoadStarted();
    void OnAddressChanged();
    void OnLoadFinished(bool success);
    void ComeBackOnScreen();
    void OnProcessEnded(QWebEnginePage::RenderProcessTerminationStatus status, int exitCode);
    void OnConsoleLine(const QString& line);
    void CompleteScript(int number, bool success, const QVariant& value);
    void FailScripts(int last);
    void LetPageFinish();

    std::shared_ptr<Profile> profile_;
    // Null once the host is gone.
    QPointer<QWebEngineView> widget_;
    std::unique_ptr<Page> page_;
    Captures captures_;
    std::map<int, ScriptCompleted> scripts_;  // those that have not answered yet, by number
    int lastScript_ = 0;
    bool expectsLoad_ = false;   // a navigation was asked for and has not begun
    bool hasPage_ = false;       // one was loaded
    bool helperIsGone_ = false;  // and no navigation has begun since
    bool isDrawnAnew_ = false;   // and no page has been loaded since
    NavigationCompleted navigationCompleted_;
    ProcessFailed processFailed_;
    ConsoleMessage consoleMessage_;
    Later later_;
};

}  // namespace vistrel::loader
