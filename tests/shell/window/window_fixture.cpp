// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/shell/window/window_fixture.h"

#include <QAbstractButton>
#include <QAction>
#include <QCoreApplication>
#include <filesystem>

#include "base/text_encoding.h"
#include "tests/support/test_pictures.h"
#include "tests/support/wait_until.h"
#include "ui/ui_text.h"

namespace vistrel::test {

std::optional<std::wstring> FakeDialogs::AskPhotographOrScene() {
    asked.emplace_back(L"photograph or scene");
    return answer;
}

std::optional<std::wstring> FakeDialogs::AskModel(const std::wstring& modelPath) {
    asked.push_back(L"model " + modelPath);
    return answer;
}

std::optional<std::wstring> FakeDialogs::AskPictureToSave() {
    asked.emplace_back(L"picture to save");
    if (whileAsking) whileAsking();
    return answer;
}

std::optional<std::wstring> FakeDialogs::AskSceneToSave(const std::wstring& proposal,
                                                        const std::wstring& /*folder*/) {
    asked.push_back(L"scene to save " + proposal);
    return answer;
}

bool FakeDialogs::AskWhetherToDownload() {
    asked.emplace_back(L"download");
    return yes;
}

void FakeDialogs::TellProviderFallback() {
    asked.emplace_back(L"provider fallback");
}

void FakeDialogs::TellAbout() {
    asked.emplace_back(L"about");
}

void FakeDialogs::OpenHelp(const std::wstring& appDir) {
    asked.push_back(L"help " + appDir);
}

WindowTest::WindowTest() {
    const auto set = [this](const char* name, const char* child) {
        qputenv(name, QByteArray::fromStdString((folder / child).string()));
    };
    set("HOME", "home");
    set("XDG_CONFIG_HOME", "config");
    set("XDG_DATA_HOME", "data");
    services.browser = browser.Factory();
    services.makeDialogs = [this](QWidget*) {
        auto made = std::make_unique<FakeDialogs>();
        dialogs = made.get();
        return made;
    };
}

WindowTest::~WindowTest() {
    window.reset();
    gUiText = nullptr;
    TakeBackExit();  // the window's end is the application's
}

void WindowTest::Open(bool browserReady) {
    window = std::make_unique<MainWindow>(webDir, L"/app", services);
    window->show();
    window->activateWindow();
    // The browser is asked for once the window is on the screen.
    ASSERT_TRUE(WaitUntil([this] { return !browser.calls.empty(); }));
    QCoreApplication::processEvents();
    if (browserReady) {
        browser.AnswerEnvironment();
        browser.AnswerController();
        browser.EndNavigation();
        QCoreApplication::processEvents();
    }
}

void WindowTest::WriteSettings(const std::string& json) const {
    std::filesystem::create_directories(folder / "config/Vistrel");
    (void)folder.Write("config/Vistrel/settings.json", json);
}

std::string WindowTest::SettingsText() const {
    return ReadFile(folder / "config/Vistrel/settings.json");
}

QAction* WindowTest::Item(ControlId id) const {
    return Find<QAction>(id);
}

void WindowTest::Click(ControlId id) const {
    Find<QAbstractButton>(id)->click();
}

void WindowTest::Choose(ControlId item) const {
    window->UpdateMenuState();
    Item(item)->trigger();
}

std::wstring WindowTest::Photograph(int width, int height, const std::string& name) const {
    return FromPath(folder.Write(name, EncodePng(FilledPicture(width, height, 200, 30, 60))));
}

std::wstring WindowTest::InFolder(const std::string& name) const {
    return FromPath(folder / name);
}

}  // namespace vistrel::test
