// SPDX-License-Identifier: GPL-3.0-or-later
// Everything that the main window asks or tells the user in a window of its own. A test answers in
// the user's place.
#pragma once

#include <QPointer>
#include <functional>
#include <optional>
#include <string>

class QUrl;
class QWidget;

namespace vistrel {

struct FileQuestion;

// Thread of the event loop. Each call returns when the user has answered; nothing means cancelled,
// or that the program ends.
class WindowDialogs {
  public:
    virtual ~WindowDialogs() = default;
    virtual std::optional<std::wstring> AskPhotographOrScene() = 0;
    // Begins in the folder of `modelPath`, in the models folder where that is empty.
    virtual std::optional<std::wstring> AskModel(const std::wstring& modelPath) = 0;
    virtual std::optional<std::wstring> AskPictureToSave() = 0;
    // `proposal` is a whole path, `folder` the one to begin in.
    virtual std::optional<std::wstring> AskSceneToSave(const std::wstring& proposal,
                                                       const std::wstring& folder) = 0;
    virtual bool AskWhetherToDownload() = 0;
    virtual void TellProviderFallback() = 0;
    virtual void TellAbout() = 0;
    // Opens the help page in `appDir` in the user's browser, or tells that it could not.
    virtual void OpenHelp(const std::wstring& appDir) = 0;
};

// The real thing: message boxes and file dialogs owned by `owner`, which may go while one is open.
class DesktopDialogs : public WindowDialogs {
  public:
    explicit DesktopDialogs(QWidget* owner);

    // Opens an address in the user's browser. `onFailure` is called where that does not work,
    // possibly later; a test sets its own.
    std::function<void(const QUrl& address, const std::function<void()>& onFailure)> openAddress;
    // The language of the help page and of the file filters, asked each time.
    std::function<bool()> isJapaneseUser;

    std::optional<std::wstring> AskPhotographOrScene() override;
    std::optional<std::wstring> AskModel(const std::wstring& modelPath) override;
    std::optional<std::wstring> AskPictureToSave() override;
    std::optional<std::wstring> AskSceneToSave(const std::wstring& proposal,
                                               const std::wstring& folder) override;
    bool AskWhetherToDownload() override;
    void TellProviderFallback() override;
    void TellAbout() override;
    void OpenHelp(const std::wstring& appDir) override;

  private:
    std::optional<std::wstring> Ask(FileQuestion question);

    QPointer<QWidget> owner_;
    std::wstring lastFolder_;  // of the file that was chosen last; empty before
};

}  // namespace vistrel
