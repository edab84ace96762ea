// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/download_reports.h"

#include <algorithm>
#include <utility>

#include "shell/window/window_messages.h"
#include "ui/mailbox.h"

namespace vistrel {

DownloadReports::DownloadReports(std::shared_ptr<Mailbox> mailbox) : mailbox_(std::move(mailbox)) {}

void DownloadReports::Report(double fraction, const std::wstring& text) {
    constexpr double kFull = 1000.0;
    constexpr double kLargest = 0xFFFF;
    const auto position = static_cast<quintptr>(std::clamp(fraction * kFull, 0.0, kLargest));
    const std::lock_guard lock(mutex_);
    latest_ = Progress{position, text};
    if (std::exchange(waiting_, true)) return;
    mailbox_->Post(std::make_unique<WindowMessage>(kDownloadProgressMessage, position, text));
}

void DownloadReports::Finished(bool success, const std::wstring& text) {
    mailbox_->Post(std::make_unique<WindowMessage>(kDownloadDoneMessage, success ? 0 : 1, text));
}

std::optional<DownloadReports::Progress> DownloadReports::TakeLatest() {
    const std::lock_guard lock(mutex_);
    waiting_ = false;
    return std::exchange(latest_, std::nullopt);
}

}  // namespace vistrel
