// SPDX-License-Identifier: GPL-3.0-or-later
#include "batch/dialogs/batch_dialog.h"

#include <QFileDialog>
#include <chrono>
#include <filesystem>
#include <system_error>
#include <utility>

#include "base/text_encoding.h"
#include "batch/dialogs/batch_messages.h"
#include "batch/dialogs/batch_worker.h"
#include "batch/dialogs/conflict_dialog.h"
#include "batch/dialogs/dialog_form.h"
#include "ui/mailbox.h"
#include "ui/settings.h"
#include "ui/ui_text.h"
#include "ui/wide_text.h"
#include "ui_batch_dialog.h"

namespace vistrel {
namespace {

constexpr int kClosed = 1;
constexpr std::chrono::seconds kTimerPeriod(1);

// Number of the file that the last progress report of any batch was about.
int gLastCurrent = -1;

std::int64_t SteadyNanoseconds() {
    return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
}

QString ProcessingStatus(const BatchProgressInfo& info) {
    return FromWide(
        Filled(Text(TextId::BatchProcessing),
               {std::to_wstring(info.current), std::to_wstring(info.total), info.fileName}));
}

// What the user sees in `edit` counts. Where it shows `folder`, `folder` stays: bytes that are no
// text get lost on the way through the edit.
void ReadFolder(const QLineEdit& edit, std::wstring& folder) {
    if (edit.text() != QString::fromStdWString(folder)) folder = edit.text().toStdWString();
}

// The one proposed at first need not be there yet. Where it cannot be made, every file fails to be
// written, and says so.
void MakeFolder(const std::wstring& folder) {
    std::error_code ignored;
    std::filesystem::create_directories(ToPath(folder), ignored);
}

}  // namespace

BatchDialog::BatchDialog(QWidget* owner, std::shared_ptr<ConversionEngine> engine,
                         const AppSettings* settings)
    : QDialog(owner),
      clock(SteadyNanoseconds),
      engine_(std::move(engine)),
      settings_(settings),
      mailbox_(Mailbox::Make(this)),
      form_(std::make_unique<Ui::BatchForm>()),
      outputFolder_(settings->outputDir) {
    askFolder = [this](const std::wstring& title) -> std::optional<std::wstring> {
        const QString folder = QFileDialog::getExistingDirectory(
            this, QString::fromStdWString(title), {}, QFileDialog::ShowDirsOnly);
        if (folder.isEmpty()) return std::nullopt;
        return folder.toStdWString();
    };
    SetUpForm();
    connect(form_->inputBrowse, &QPushButton::clicked, this, [this] { OnBrowse(true); });
    connect(form_->outputBrowse, &QPushButton::clicked, this, [this] { OnBrowse(false); });
    connect(form_->start, &QPushButton::clicked, this, [this] { OnStart(); });
    connect(form_->cancel, &QPushButton::clicked, this, [this] { OnCancel(); });
    connect(form_->close, &QPushButton::clicked, this, [this] { done(kClosed); });
    connect(&timer_, &QTimer::timeout, this, [this] { ShowElapsed(); });
}

BatchDialog::~BatchDialog() {
    mailbox_->Close();
    if (running_) {
        converter_->cancelRequested.exchange(true);
        engine_->cancelRequested.exchange(true);
    }
}

// The label of the output folder keeps the form's text, in every language, and so does the elapsed
// time until the timer first ticks.
void BatchDialog::SetUpForm() {
    form_->setupUi(this);
    PrepareDialog(*this);
    setWindowTitle(UiString(TextId::BatchCaption));
    form_->inputLabel->setText(UiString(TextId::BatchInput));
    form_->status->setText(UiString(TextId::BatchReady));
    form_->output->setText(QString::fromStdWString(outputFolder_));
    SetButtonText(*form_->inputBrowse, TextId::BatchBrowse);
    SetButtonText(*form_->outputBrowse, TextId::BatchBrowse);
    SetButtonText(*form_->start, TextId::BatchStart);
    SetButtonText(*form_->cancel, TextId::BatchCancel);
    SetSpokenNames();
    SetControlId(*form_->input, BatchControlId::Input);
    SetControlId(*form_->inputBrowse, BatchControlId::InputBrowse);
    SetControlId(*form_->output, BatchControlId::Output);
    SetControlId(*form_->outputBrowse, BatchControlId::OutputBrowse);
    SetControlId(*form_->progress, BatchControlId::Progress);
    SetControlId(*form_->status, BatchControlId::Status);
    SetControlId(*form_->elapsed, BatchControlId::Elapsed);
    SetControlId(*form_->start, BatchControlId::Start);
    SetControlId(*form_->cancel, BatchControlId::Cancel);
    SetControlId(*form_->close, BatchControlId::Close);
}

// For screen readers, which see no neighbours.
void BatchDialog::SetSpokenNames() {
    const auto name = [](QLabel& label, QLineEdit& folder, QPushButton& browse) {
        label.setBuddy(&folder);
        folder.setAccessibleName(label.text());
        browse.setAccessibleName(browse.text() + ' ' + label.text());
    };
    name(*form_->inputLabel, *form_->input, *form_->inputBrowse);
    name(*form_->outputLabel, *form_->output, *form_->outputBrowse);
    form_->progress->setAccessibleName(windowTitle());
}

void BatchDialog::OnBrowse(bool input) {
    const std::optional<std::wstring> folder = askFolder(Text(TextId::BatchBrowse));
    if (!folder) return;
    (input ? inputFolder_ : outputFolder_) = *folder;
    (input ? form_->input : form_->output)->setText(QString::fromStdWString(*folder));
}

void BatchDialog::OnStart() {
    if (running_) return;
    ReadFolder(*form_->input, inputFolder_);
    ReadFolder(*form_->output, outputFolder_);
    if (inputFolder_.empty() || outputFolder_.empty()) return;
    MakeFolder(outputFolder_);

    startTime_ = clock();
    timer_.start(kTimerPeriod);
    SetRunning(true);
    // A new one: the thread of the last batch may not quite have left its own yet.
    converter_ = std::make_shared<BatchConverter>(engine_);
    ReportTo(*converter_, mailbox_);
    try {
        StartBatchWorker({converter_, settings_->modelPath, inputFolder_, outputFolder_,
                          settings_->executionProvider});
    } catch (const std::system_error& error) {
        OnFinished({.errorMessage = QString::fromLocal8Bit(error.what()).toStdWString()});
    }
}

bool BatchDialog::AnyRunning() {
    return IsBatchWorkerRunning();
}

// Esc and the close box.
void BatchDialog::reject() {
    OnCancel();
}

void BatchDialog::OnCancel() {
    if (!running_) {
        done(kDialogCancelled);
        return;
    }
    form_->status->setText(UiString(TextId::BatchCancelPending));
    converter_->cancelRequested.exchange(true);
    engine_->cancelRequested.exchange(true);
}

void BatchDialog::customEvent(QEvent* event) {
    switch (static_cast<int>(event->type())) {
        case kBatchProgressMessage:
            OnProgress(static_cast<BatchReportMessage*>(event)->Info());
            break;
        case kBatchFinishedMessage:
            OnFinished(static_cast<BatchReportMessage*>(event)->Info());
            break;
        case kBatchConflictMessage:
            static_cast<BatchConflictMessage*>(event)->Answer(AskConflictPolicy(this));
            break;
        default:
            break;
    }
}

void BatchDialog::OnProgress(const BatchProgressInfo& info) {
    if (info.current != gLastCurrent) {
        startTime_ = clock();
        gLastCurrent = info.current;
    }
    form_->status->setText(ProcessingStatus(info));
    ShowElapsed();
    form_->progress->setValue(
        info.total >= 1 ? static_cast<int>(std::int64_t{info.current} * 100 / info.total) : 0);
}

void BatchDialog::OnFinished(const BatchProgressInfo& info) {
    timer_.stop();
    SetRunning(false);
    SetButtonText(*form_->close, TextId::BatchClose);
    if (info.cancelled) {
        form_->status->setText(UiString(TextId::BatchCancelled));
    } else if (info.completed) {
        form_->status->setText(UiString(TextId::BatchComplete));
        form_->progress->setValue(form_->progress->maximum());
    }
}

void BatchDialog::SetRunning(bool running) {
    running_ = running;
    // The focus is not to go from the start button, as it is disabled, to the one that cancels:
    // a second Enter would press that. Nor to a field: keys that are commands would end there.
    if (running) setFocus();
    form_->start->setEnabled(!running);
    form_->inputBrowse->setEnabled(!running);
    form_->outputBrowse->setEnabled(!running);
    form_->close->setVisible(!running);
    form_->cancel->setVisible(running);
}

void BatchDialog::ShowElapsed() {
    if (!running_) return;
    const std::int64_t seconds = (clock() - startTime_) / 1'000'000'000;
    form_->elapsed->setText(
        FromWide(Filled(Text(TextId::BatchElapsed), {std::to_wstring(seconds)})));
}

}  // namespace vistrel
