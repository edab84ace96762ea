// SPDX-License-Identifier: GPL-3.0-or-later
// A sidebar and what a flow works with; user, clock and home folder are the test's own.
#pragma once

#include <gtest/gtest.h>

#include <QLabel>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/text_encoding.h"
#include "base/user_folders.h"
#include "shell/window/sidebar.h"
#include "shell/window/window_dialogs.h"
#include "tests/shell/window/find_control.h"
#include "tests/shell/window/message_receiver.h"
#include "tests/support/own_home.h"
#include "ui/settings.h"
#include "ui/ui_text.h"
#include "ui/wide_text.h"

namespace vistrel::test {

// The user of the two flows; other dialogs fail the test.
class FlowUser : public WindowDialogs {
  public:
    std::optional<std::wstring> AskSceneToSave(const std::wstring& proposal,
                                               const std::wstring& folder) override {
        proposals.push_back(proposal);
        folders.push_back(folder);
        if (whileAsked) whileAsked();
        return scene;
    }
    bool AskWhetherToDownload() override {
        ++downloadQuestions;
        return wantsDownload;
    }
    void TellProviderFallback() override {
        ++fallbackWarnings;
        if (whileAsked) whileAsked();
    }

    std::optional<std::wstring> AskPhotographOrScene() override { return Unexpected(); }
    std::optional<std::wstring> AskModel(const std::wstring& /*modelPath*/) override {
        return Unexpected();
    }
    std::optional<std::wstring> AskPictureToSave() override { return Unexpected(); }
    void TellAbout() override { (void)Unexpected(); }
    void OpenHelp(const std::wstring& /*appDir*/) override { (void)Unexpected(); }

    std::optional<std::wstring> scene;
    bool wantsDownload = true;
    std::function<void()> whileAsked;
    std::vector<std::wstring> proposals;
    std::vector<std::wstring> folders;
    int downloadQuestions = 0;
    int fallbackWarnings = 0;

  private:
    static std::optional<std::wstring> Unexpected() {
        ADD_FAILURE() << "a question that no flow has";
        return std::nullopt;
    }
};

class FlowTest : public testing::Test {
  protected:
    FlowTest() { gUiText = &kEnglishText; }
    ~FlowTest() override { gUiText = nullptr; }

    [[nodiscard]] static bool SettingsAreSaved() {
        return std::filesystem::exists(ToPath(SettingsFile()));
    }
    // What the settings file holds.
    [[nodiscard]] static AppSettings SavedSettings() {
        AppSettings saved;
        saved.Load();
        return saved;
    }

    template <typename Control = QWidget>
    [[nodiscard]] Control* Find(ControlId id) const {
        return FindControl<Control>(sidebar, id);
    }
    // What a label shows.
    [[nodiscard]] std::wstring TextOf(ControlId label) const {
        return ToWide(Find<QLabel>(label)->text());
    }

    OwnHome home;
    AppSettings settings;
    Sidebar sidebar{nullptr, settings};
    FlowUser user;
    MessageReceiver window;
};

}  // namespace vistrel::test
