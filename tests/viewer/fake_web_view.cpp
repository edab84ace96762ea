// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/viewer/fake_web_view.h"

#include <utility>

namespace vistrel::test {

class FakeSettings : public WebViewSettings {
  public:
    explicit FakeSettings(FakeBrowser& browser) : browser_(browser) {}

    void SetScriptEnabled(bool enabled) override { Note(L"scripts", enabled); }
    void SetDefaultScriptDialogsEnabled(bool enabled) override { Note(L"dialogs", enabled); }
    void SetStatusBarEnabled(bool enabled) override { Note(L"status bar", enabled); }
    void SetWebMessageEnabled(bool enabled) override { Note(L"messages", enabled); }

  private:
    void Note(const std::wstring& name, bool enabled) {
        browser_.calls.push_back(name + (enabled ? L" on" : L" off"));
    }

    FakeBrowser& browser_;
};

class FakeView : public WebView {
  public:
    explicit FakeView(FakeBrowser& browser) : browser_(browser), settings_(browser) {}
    ~FakeView() override {
        browser_.navigationHandler_ = {};
        browser_.processHandler_ = {};
        browser_.consoleHandler_ = {};
        browser_.scriptQuestions_.clear();
        browser_.captureQuestions_.clear();
    }

    WebViewSettings& Settings() override { return settings_; }
    void Navigate(const std::wstring& url) override {
        browser_.calls.push_back(L"navigate " + url);
    }
    void ExecuteScript(const std::wstring& script, ScriptCompleted completed) override {
        browser_.calls.push_back(L"script " + script);
        browser_.scriptQuestions_.push_back(std::move(completed));
    }
    void CapturePreview(CaptureCompleted completed) override {
        browser_.calls.emplace_back(L"capture");
        browser_.captureQuestions_.push_back(std::move(completed));
    }
    void SetNavigationCompletedHandler(NavigationCompleted handler) override {
        browser_.calls.emplace_back(L"navigation handler");
        browser_.navigationHandler_ = std::move(handler);
    }
    void SetProcessFailedHandler(ProcessFailed handler) override {
        browser_.processHandler_ = std::move(handler);
    }
    void SetConsoleMessageHandler(ConsoleMessage handler) override {
        browser_.consoleHandler_ = std::move(handler);
    }

  private:
    FakeBrowser& browser_;
    FakeSettings settings_;
};

class FakeController : public WebViewController {
  public:
    explicit FakeController(FakeBrowser& browser) : browser_(browser), view_(browser) {
        ++browser_.controllers;
    }
    ~FakeController() override { --browser_.controllers; }

    WebView& View() override { return view_; }
    void SetBounds(const QRect& bounds) override {
        browser_.calls.push_back(
            L"bounds " + std::to_wstring(bounds.x()) + L" " + std::to_wstring(bounds.y()) + L" " +
            std::to_wstring(bounds.width()) + L" " + std::to_wstring(bounds.height()));
    }
    void SetVisible(bool visible) override {
        browser_.calls.emplace_back(visible ? L"visible" : L"invisible");
    }

  private:
    FakeBrowser& browser_;
    FakeView view_;
};

class FakeEnvironment : public WebViewEnvironment {
  public:
    explicit FakeEnvironment(FakeBrowser& browser) : browser_(browser) { ++browser_.environments; }
    ~FakeEnvironment() override {
        --browser_.environments;
        browser_.controllerQuestions_.clear();
    }

    void CreateController(QWidget& host, ControllerCreated completed) override {
        browser_.calls.emplace_back(L"create controller");
        browser_.hosts.push_back(&host);
        browser_.controllerQuestions_.push_back(std::move(completed));
    }

  private:
    FakeBrowser& browser_;
};

namespace {

// Takes the oldest question out before it is answered: the answer may end its owner.
template <typename Question, typename... Answer>
bool AnswerOldest(std::vector<Question>& questions, Answer&&... answer) {
    if (questions.empty()) return false;
    const Question question = std::move(questions.front());
    questions.erase(questions.begin());
    question(std::forward<Answer>(answer)...);
    return true;
}

}  // namespace

std::function<CreateWebViewEnvironmentFunction> FakeBrowser::Factory() {
    return [this](const std::wstring& folder, const WebViewEnvironmentOptions& given,
                  EnvironmentCreated completed) {
        userDataFolder = folder;
        options = given;
        calls.emplace_back(L"create environment");
        if (starts) environmentQuestions_.push_back(std::move(completed));
        return starts;
    };
}

bool FakeBrowser::AnswerEnvironment(bool success) {
    if (environmentQuestions_.empty()) return false;
    return AnswerOldest(environmentQuestions_,
                        success ? std::make_unique<FakeEnvironment>(*this) : nullptr);
}

bool FakeBrowser::AnswerController(bool success) {
    if (controllerQuestions_.empty()) return false;
    return AnswerOldest(controllerQuestions_,
                        success ? std::make_unique<FakeController>(*this) : nullptr);
}

bool FakeBrowser::AnswerScript(bool success, const std::wstring& result) {
    return AnswerOldest(scriptQuestions_, success, result);
}

bool FakeBrowser::AnswerCapture(bool success, const std::vector<std::byte>& png) {
    return AnswerOldest(captureQuestions_, success, png);
}

bool FakeBrowser::EndNavigation(bool success) {
    const WebView::NavigationCompleted handler = navigationHandler_;
    if (handler) handler(success);
    return static_cast<bool>(handler);
}

bool FakeBrowser::FailProcess(const std::wstring& reason) {
    const WebView::ProcessFailed handler = processHandler_;
    if (handler) handler(reason);
    return static_cast<bool>(handler);
}

bool FakeBrowser::SayInConsole(const std::wstring& text) {
    const WebView::ConsoleMessage handler = consoleHandler_;
    if (handler) handler(text);
    return static_cast<bool>(handler);
}

std::vector<std::wstring> FakeBrowser::Scripts() const {
    return CallsWith(L"script ");
}

std::vector<std::wstring> FakeBrowser::Addresses() const {
    return CallsWith(L"navigate ");
}

std::vector<std::wstring> FakeBrowser::CallsWith(const std::wstring& prefix) const {
    std::vector<std::wstring> found;
    for (const std::wstring& call : calls) {
        if (call.starts_with(prefix)) found.push_back(call.substr(prefix.size()));
    }
    return found;
}

}  // namespace vistrel::test
