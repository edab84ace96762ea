// SPDX-License-Identifier: GPL-3.0-or-later
// A browser for tests: notes down what it is told, and answers when the test says so.
#pragma once

#include <QRect>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "viewer/web_view.h"

namespace vistrel::test {

// Thread of the event loop; outlives everything it makes.
class FakeBrowser {
  public:
    // To be given to the bridge.
    [[nodiscard]] std::function<CreateWebViewEnvironmentFunction> Factory();

    // Whether the factory starts anything.
    bool starts = true;
    // What the factory was given last.
    std::wstring userDataFolder;
    WebViewEnvironmentOptions options;
    // Everything else, in order, such as "navigate file:///a" or "bounds 0 0 30 20".
    std::vector<std::wstring> calls;
    std::vector<QWidget*> hosts;
    // How many live now.
    int environments = 0;
    int controllers = 0;

    // The answers, each to the oldest question that is open; false where there is none.
    bool AnswerEnvironment(bool success = true);
    bool AnswerController(bool success = true);
    bool AnswerScript(bool success = true, const std::wstring& result = L"null");
    bool AnswerCapture(bool success, const std::vector<std::byte>& png);
    // The newest controller's view; false where it has no such handler.
    bool EndNavigation(bool success = true);
    bool FailProcess(const std::wstring& reason);
    bool SayInConsole(const std::wstring& text);

    // The scripts and addresses among the calls.
    [[nodiscard]] std::vector<std::wstring> Scripts() const;
    [[nodiscard]] std::vector<std::wstring> Addresses() const;

  private:
    friend class FakeSettings;
    friend class FakeView;
    friend class FakeController;
    friend class FakeEnvironment;
    [[nodiscard]] std::vector<std::wstring> CallsWith(const std::wstring& prefix) const;

    std::vector<EnvironmentCreated> environmentQuestions_;
    std::vector<WebViewEnvironment::ControllerCreated> controllerQuestions_;
    std::vector<WebView::ScriptCompleted> scriptQuestions_;
    std::vector<WebView::CaptureCompleted> captureQuestions_;
    WebView::NavigationCompleted navigationHandler_;
    WebView::ProcessFailed processHandler_;
    WebView::ConsoleMessage consoleHandler_;
};

}  // namespace vistrel::test
