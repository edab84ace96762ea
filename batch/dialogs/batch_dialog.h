// SPDX-License-Identifier: GPL-3.0-or-later
// The dialog in which the user converts a folder of photographs.
#pragma once

#include <QDialog>
#include <QTimer>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "batch/batch_converter.h"

namespace vistrel {

struct AppSettings;
class Mailbox;

namespace Ui {
class BatchForm;
}

// Thread of the event loop; exec() shows it. While a batch runs the dialog does not close; should
// the program end all the same, the batch's thread stops after its file and touches nothing of what
// has gone. End the event loop with QCoreApplication::exit: quit() asks every window to close, and
// this one would refuse.
class BatchDialog : public QDialog {
  public:
    // `settings` outlives the dialog; `engine` is shared with the batch's thread.
    BatchDialog(QWidget* owner, std::shared_ptr<ConversionEngine> engine,
                const AppSettings* settings);
    ~BatchDialog() override;

    // Lets the user choose a folder, nothing: cancelled. A test answers in the user's place.
    std::function<std::optional<std::wstring>(const std::wstring& title)> askFolder;
    // Nanoseconds of a monotonic clock; a test sets its own.
    std::function<std::int64_t()> clock;

    void OnStart();

    // Whether the thread of some batch is still there, which nobody waits for.
    [[nodiscard]] static bool AnyRunning();

    void reject() override;

  protected:
    void customEvent(QEvent* event) override;

  private:
    void SetUpForm();
    void SetSpokenNames();
    void OnBrowse(bool input);
    void OnCancel();
    void OnProgress(const BatchProgressInfo& info);
    void OnFinished(const BatchProgressInfo& info);
    void SetRunning(bool running);
    void ShowElapsed();

    const std::shared_ptr<ConversionEngine> engine_;
    const AppSettings* settings_;
    std::shared_ptr<BatchConverter> converter_;  // of the last batch; null before the first
    std::shared_ptr<Mailbox> mailbox_;
    std::unique_ptr<Ui::BatchForm> form_;
    std::wstring inputFolder_;
    std::wstring outputFolder_;
    bool running_ = false;
    std::int64_t startTime_ = 0;  // of what "Elapsed" counts from, by `clock`
    QTimer timer_;
};

}  // namespace vistrel
