// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/start/run_program.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QTest>
#include <QTimer>
#include <csignal>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "shell/window/window_messages.h"
#include "ui/language.h"
#include "ui/mailbox.h"
#include "ui/ui_text.h"

namespace vistrel {
namespace {

// Leaves the event loop when it is closed, as the main window does.
class Window : public QWidget {
  public:
    explicit Window(std::vector<std::string>& story) : story_(story) {}
    ~Window() override {
        messages->Close();
        story_.emplace_back("deleted");
    }
    std::shared_ptr<Mailbox> messages = Mailbox::Make(this);
    int exitCode = 0;

  protected:
    void closeEvent(QCloseEvent*) override {
        story_.emplace_back("closed");
        QCoreApplication::exit(exitCode);
    }
    void customEvent(QEvent* event) override {
        story_.push_back("key " + std::to_string(static_cast<WindowMessage*>(event)->Value()));
    }

  private:
    std::vector<std::string>& story_;
};

class StartUp : public testing::Test {
  protected:
    StartUp() {
        steps.extract = [this] {
            story.emplace_back("extracted");
            return files;
        };
        steps.makeWindow = [this](const ProgramFiles& made) {
            story.emplace_back("window in " + std::string(made.webDir.begin(), made.webDir.end()));
            auto own = std::make_unique<Window>(story);
            window = own.get();
            QTimer::singleShot(0, own.get(), [this] { whileRunning(); });
            ProgramWindow result;
            result.messages = own->messages;
            result.hasRunningWorker = [this] {
                story.emplace_back("asked");
                return workerRuns;
            };
            result.widget = std::move(own);
            return result;
        };
        steps.tellFailure = [this](const std::wstring& text) { told.push_back(text); };
    }
    ~StartUp() override { gUiText = nullptr; }

    std::optional<ProgramFiles> files = ProgramFiles{L"app", L"web", L"app/loader"};
    bool workerRuns = false;
    std::function<void()> whileRunning = [this] { window->close(); };
    ProgramSteps steps;
    Window* window = nullptr;
    std::vector<std::string> story;
    std::vector<std::wstring> told;
};

using Story = std::vector<std::string>;

TEST_F(StartUp, RunsUntilTheWindowIsClosed) {
    bool visible = false;
    whileRunning = [&] {
        visible = window->isVisible();
        window->close();
    };
    const ProgramEnd end = RunProgram(steps);
    EXPECT_EQ(end.exitCode, 0);
    EXPECT_FALSE(end.workerRuns);
    EXPECT_TRUE(visible);
    EXPECT_EQ(story, (Story{"extracted", "window in web", "closed", "asked", "deleted"}));
    EXPECT_TRUE(told.empty());
}

TEST_F(StartUp, ExitCodeIsThatOfTheLoop) {
    whileRunning = [this] {
        window->exitCode = 7;
        window->close();
    };
    EXPECT_EQ(RunProgram(steps).exitCode, 7);
}

TEST_F(StartUp, RunningWorkerIsReported) {
    workerRuns = true;
    EXPECT_TRUE(RunProgram(steps).workerRuns);
}

TEST_F(StartUp, LanguageIsChosenBeforeAnythingElse) {
    const UiText* chosen = nullptr;
    steps.extract = [&chosen]() -> std::optional<ProgramFiles> {
        chosen = gUiText;
        return std::nullopt;
    };
    EXPECT_EQ(RunProgram(steps).exitCode, 1);
    EXPECT_EQ(chosen, IsJapaneseUser() ? &kJapaneseText : &kEnglishText);
}

TEST_F(StartUp, FailedExtractionIsToldAndEndsIt) {
    files.reset();
    const ProgramEnd end = RunProgram(steps);
    EXPECT_EQ(end.exitCode, 1);
    EXPECT_FALSE(end.workerRuns);
    EXPECT_EQ(told, std::vector<std::wstring>{Text(TextId::ExtractionFailed)});
    EXPECT_EQ(story, Story{"extracted"});
}

TEST_F(StartUp, WindowThatCannotBeMadeIsToldAndEndsIt) {
    steps.makeWindow = [](const ProgramFiles&) -> ProgramWindow {
        throw std::runtime_error("no window");
    };
    const ProgramEnd end = RunProgram(steps);
    EXPECT_EQ(end.exitCode, 1);
    EXPECT_FALSE(end.workerRuns);
    EXPECT_EQ(told, std::vector<std::wstring>{Text(TextId::WindowFailed)});
}

TEST_F(StartUp, MissingWindowIsToldAndEndsIt) {
    steps.makeWindow = [](const ProgramFiles&) { return ProgramWindow(); };
    EXPECT_EQ(RunProgram(steps).exitCode, 1);
    EXPECT_EQ(told, std::vector<std::wstring>{Text(TextId::WindowFailed)});
}

TEST_F(StartUp, KeysAreCommandsWhileItRuns) {
    whileRunning = [this] {
        QTest::keyPress(window->windowHandle(), Qt::Key_Return);
        QTimer::singleShot(0, window, &QWidget::close);
    };
    static_cast<void>(RunProgram(steps));
    const std::string key = "key " + std::to_string(Qt::Key_F11);
    EXPECT_EQ(story, (Story{"extracted", "window in web", key, "closed", "asked", "deleted"}));
}

class Signals : public StartUp, public testing::WithParamInterface<int> {};

TEST_P(Signals, CloseTheWindow) {
    whileRunning = [] { raise(GetParam()); };
    EXPECT_EQ(RunProgram(steps).exitCode, 0);
    EXPECT_EQ(story, (Story{"extracted", "window in web", "closed", "asked", "deleted"}));
}

INSTANTIATE_TEST_SUITE_P(ThatEnd, Signals, testing::Values(SIGTERM, SIGINT, SIGHUP));

}  // namespace
}  // namespace vistrel
