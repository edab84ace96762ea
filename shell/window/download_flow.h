// SPDX-License-Identifier: GPL-3.0-or-later
// The network's file: its name in the sidebar, and the way from the download button to it.
#pragma once

#include <QTimer>
#include <functional>
#include <memory>
#include <string>

#include "download/model_downloader.h"

namespace vistrel {

struct AppSettings;
class DownloadReports;
class Mailbox;
class WindowDialogs;
class Sidebar;
class WindowMessage;

// Thread of the event loop. What it is given outlives it; it may go while it asks a question.
class DownloadFlow {
  public:
    DownloadFlow(std::shared_ptr<ModelDownloader> downloader, AppSettings& settings,
                 Sidebar& sidebar, WindowDialogs& dialogs, std::shared_ptr<Mailbox> mailbox);

    // The model path has changed; to be shown.
    std::function<void()> onModel;

    // Shows the model path's name, and the download button where there is no such file or it is not
    // the network: the relief demo, or a downloaded file that could not be opened.
    void ShowModel();
    // Asks the user and starts the download, which then reports to the mailbox.
    void StartModelDownload();
    // The messages kDownloadProgressMessage and kDownloadDoneMessage; without a text they are
    // ignored.
    void OnProgress(const WindowMessage& message);
    void OnDone(const WindowMessage& message);
    // The message kModelFileErrorMessage.
    void OnModelFileError(const WindowMessage& message);

  private:
    [[nodiscard]] bool IsDownloadOffered() const;
    void Start();
    void Show(quintptr position, const std::wstring& text);

    const std::shared_ptr<ModelDownloader> downloader_;
    AppSettings& settings_;
    Sidebar& sidebar_;
    WindowDialogs& dialogs_;
    std::shared_ptr<Mailbox> mailbox_;
    bool isDamaged_ = false;  // what the latest download has put in place; it may have broken off
    std::shared_ptr<DownloadReports> reports_;  // of the latest download; null before the first
    // Runs after each report that was shown; the next one waits for its end. Each makes the whole
    // window be drawn again, which without a graphics card takes tens of milliseconds.
    QTimer pause_;
};

}  // namespace vistrel
