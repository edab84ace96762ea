// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/download_flow.h"

#include <chrono>
#include <exception>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

#include "base/last_failure.h"
#include "base/text_encoding.h"
#include "base/user_folders.h"
#include "shell/window/download_reports.h"
#include "shell/window/relief_demo.h"
#include "shell/window/sidebar.h"
#include "shell/window/window_dialogs.h"
#include "shell/window/window_messages.h"
#include "ui/mailbox.h"
#include "ui/settings.h"
#include "ui/ui_text.h"

namespace vistrel {
namespace {

constexpr std::chrono::milliseconds kPause(100);

bool Exists(const std::wstring& path) {
    std::error_code ignored;
    return std::filesystem::exists(ToPath(path), ignored);
}

}  // namespace

DownloadFlow::DownloadFlow(std::shared_ptr<ModelDownloader> downloader, AppSettings& settings,
                           Sidebar& sidebar, WindowDialogs& dialogs,
                           std::shared_ptr<Mailbox> mailbox)
    : downloader_(std::move(downloader)),
      settings_(settings),
      sidebar_(sidebar),
      dialogs_(dialogs),
      mailbox_(std::move(mailbox)) {
    pause_.setSingleShot(true);
    pause_.setInterval(kPause);
    QObject::connect(&pause_, &QTimer::timeout, [this] {
        if (const auto latest = reports_->TakeLatest()) Show(latest->position, latest->text);
    });
}

void DownloadFlow::ShowModel() {
    const std::wstring& model = settings_.modelPath;
    sidebar_.ShowModel(model.empty() ? Text(TextId::NoModel) : FromPath(ToPath(model).filename()),
                       model, IsDownloadOffered());
}

bool DownloadFlow::IsDownloadOffered() const {
    const std::wstring& model = settings_.modelPath;
    if (model.empty() || !Exists(model)) return true;
    return (isDamaged_ && model == ModelFile()) || IsReliefDemo(model);
}

void DownloadFlow::OnModelFileError(const WindowMessage& message) {
    if (message.Text() != ModelFile()) return;
    isDamaged_ = true;
    ShowModel();
}

void DownloadFlow::StartModelDownload() {
    if (downloader_->busy || !dialogs_.AskWhetherToDownload()) return;
    Start();
}

void DownloadFlow::Start() {
    sidebar_.ShowDownloadStart(Text(TextId::DownloadStarting));

    // The callables share only what may outlive the window.
    const auto reports = std::make_shared<DownloadReports>(mailbox_);
    reports_ = reports;
    try {
        ModelDownloader::StartDownload(
            downloader_, ModelFile(),
            [reports](double fraction, const std::wstring& text) {
                reports->Report(fraction, text);
            },
            [reports](bool success, const std::wstring& text) {
                reports->Finished(success, text);
            });
    } catch (const std::exception& failure) {
        OnDone(WindowMessage(kDownloadDoneMessage, 1, FromUtf8(failure.what())));
    }
}

void DownloadFlow::OnProgress(const WindowMessage& message) {
    if (!message.Text()) return;
    if (pause_.isActive()) return;  // the latest report is taken when it ends
    std::optional<DownloadReports::Progress> latest;
    if (reports_) latest = reports_->TakeLatest();
    if (!latest) latest = {message.Value(), *message.Text()};
    Show(latest->position, latest->text);
}

void DownloadFlow::Show(quintptr position, const std::wstring& text) {
    constexpr quintptr kPositionBits = 0xFFFF;
    sidebar_.ShowDownload(static_cast<int>(position & kPositionBits), text);
    if (reports_) pause_.start();
}

void DownloadFlow::OnDone(const WindowMessage& message) {
    if (!message.Text()) return;
    pause_.stop();
    if (message.Value() != 0) {
        sidebar_.ShowDownloadEnd(Text(TextId::DownloadFailed) + *message.Text());
        if (!downloader_->cancelRequested) KeepFailure(ToUtf8(*message.Text()));
        return;
    }
    settings_.modelPath = *message.Text();
    isDamaged_ = false;
    sidebar_.ShowDownloadEnd(Text(TextId::DownloadComplete));
    if (onModel) onModel();  // hides the text again, with the button
    settings_.Save();
}

}  // namespace vistrel
