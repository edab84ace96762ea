// SPDX-License-Identifier: GPL-3.0-or-later
// A main window whose user, browser and home folder are the test's own.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "shell/window/control_id.h"
#include "shell/window/main_window.h"
#include "shell/window/window_dialogs.h"
#include "tests/shell/window/find_control.h"
#include "tests/support/temporary_folder.h"
#include "tests/viewer/fake_web_view.h"

class QAction;
class QWidget;

namespace vistrel::test {

// Answers in the user's place and notes down what was asked.
class FakeDialogs : public WindowDialogs {
  public:
    std::optional<std::wstring> AskPhotographOrScene() override;
    std::optional<std::wstring> AskModel(const std::wstring& modelPath) override;
    std::optional<std::wstring> AskPictureToSave() override;
    std::optional<std::wstring> AskSceneToSave(const std::wstring& proposal,
                                               const std::wstring& folder) override;
    bool AskWhetherToDownload() override;
    void TellProviderFallback() override;
    void TellAbout() override;
    void OpenHelp(const std::wstring& appDir) override;

    std::vector<std::wstring> asked;
    std::optional<std::wstring> answer;  // to every question for a file
    bool yes = false;                    // to every other
    std::function<void()> whileAsking;
};

class WindowTest : public testing::Test {
  protected:
    WindowTest();
    ~WindowTest() override;

    // The window as the program makes it, and its browser ready unless told otherwise.
    void Open(bool browserReady = true);
    // What is kept in the settings file before the window is opened.
    void WriteSettings(const std::string& json) const;
    [[nodiscard]] std::string SettingsText() const;

    template <typename Control = QWidget>
    [[nodiscard]] Control* Find(ControlId id) const {
        return FindControl<Control>(*window, id);
    }
    [[nodiscard]] QAction* Item(ControlId id) const;
    void Click(ControlId id) const;
    void Choose(ControlId item) const;
    // A photograph's file.
    [[nodiscard]] std::wstring Photograph(int width = 40, int height = 30,
                                          const std::string& name = "photo.png") const;
    [[nodiscard]] std::wstring InFolder(const std::string& name) const;

    TemporaryFolder folder;
    FakeBrowser browser;
    FakeDialogs* dialogs = nullptr;  // the window's own
    std::wstring webDir = L"/web";   // the page's folder; there is none of this name
    MainWindowServices services;
    std::unique_ptr<MainWindow> window;
};

}  // namespace vistrel::test
