// SPDX-License-Identifier: GPL-3.0-or-later
// What a download tells the window.
#pragma once

#include <QtGlobal>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace vistrel {

class Mailbox;

// Posts the reports of one download. A fast network brings thousands of chunks in a second, each
// with a report: only one waits in the mailbox at any time, and those that come meanwhile are kept
// here, the latest in place of the others. Any thread.
class DownloadReports {
  public:
    struct Progress {
        quintptr position;  // 0 to 1000, more when more comes than was announced
        std::wstring text;
    };

    explicit DownloadReports(std::shared_ptr<Mailbox> mailbox);

    // `fraction` is the share done, from 0.
    void Report(double fraction, const std::wstring& text);
    void Finished(bool success, const std::wstring& text);

    // Called when a progress message has arrived: the latest report, nothing where that was seen
    // before. From here on the next one is posted again.
    [[nodiscard]] std::optional<Progress> TakeLatest();

  private:
    std::shared_ptr<Mailbox> mailbox_;
    std::mutex mutex_;
    bool waiting_ = false;            // guarded by mutex_; a message is under way
    std::optional<Progress> latest_;  // guarded by mutex_
};

}  // namespace vistrel
