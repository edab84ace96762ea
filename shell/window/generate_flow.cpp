// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/generate_flow.h"

#include <QPointer>
#include <algorithm>
#include <chrono>
#include <exception>
#include <filesystem>
#include <optional>
#include <utility>

#include "base/last_failure.h"
#include "base/text_encoding.h"
#include "shell/window/sidebar.h"
#include "shell/window/window_dialogs.h"
#include "shell/window/window_messages.h"
#include "ui/mailbox.h"
#include "ui/settings.h"
#include "ui/ui_text.h"

namespace vistrel {
namespace {

constexpr int kTickMs = 1000;
constexpr std::int64_t kSecondNs = 1'000'000'000;

std::int64_t SteadyNanoseconds() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

std::wstring WithSeconds(TextId text, int seconds) {
    return Filled(Text(text), {std::to_wstring(seconds)});
}

// Share the mailbox alone, so the window may go before the conversion ends.
ConversionCallbacks PostTo(const std::shared_ptr<Mailbox>& mailbox, const std::wstring& model) {
    const auto post = [mailbox](int number, quintptr value, const std::wstring& text) {
        mailbox->Post(std::make_unique<WindowMessage>(number, value, text));
    };
    return {
        [post](const std::wstring& stage) { post(kGenerateProgressMessage, 0, stage); },
        [post](bool success, const std::wstring& text) {
            post(kGenerateDoneMessage, success ? 0 : 1, text);
        },
        [post, model] { post(kModelFileErrorMessage, 0, model); },
    };
}

}  // namespace

GenerateFlow::GenerateFlow(std::shared_ptr<ConversionEngine> engine, AppSettings& settings,
                           Sidebar& sidebar, WindowDialogs& dialogs,
                           std::shared_ptr<Mailbox> mailbox)
    : clock(SteadyNanoseconds),
      engine_(std::move(engine)),
      settings_(settings),
      sidebar_(sidebar),
      dialogs_(dialogs),
      mailbox_(std::move(mailbox)) {
    timer_.setTimerType(Qt::PreciseTimer);  // no second is to be left out
    timer_.callOnTimeout(&timer_, [this] { ShowElapsed(); });
}

void GenerateFlow::UpdateButton() {
    sidebar_.SetGenerateEnabled(!inputImagePath.empty() && !settings_.modelPath.empty() &&
                                !engine_->busy);
}

void GenerateFlow::RunGenerate() {
    if (engine_->busy || inputImagePath.empty()) return;
    if (settings_.modelPath.empty()) {
        sidebar_.ShowStatus(Text(TextId::ModelNeeded));
        return;
    }
    const std::optional<std::wstring> outputPath = ChooseOutput();
    if (!outputPath) return;
    if (IsCudaMissing()) {
        // The user may end the program in place of an answer.
        const QPointer<QTimer> alive(&timer_);
        dialogs_.TellProviderFallback();
        if (!alive || stopped_) return;
    }
    Start(*outputPath);
}

std::optional<std::wstring> GenerateFlow::ChooseOutput() {
    std::wstring proposal = settings_.outputDir + L'/' + settings_.outputFilename;
    if (!ToPath(proposal).has_extension()) proposal += L".ply";
    std::optional<std::wstring> chosen = dialogs_.AskSceneToSave(proposal, settings_.outputDir);
    if (!chosen) return std::nullopt;
    const std::filesystem::path path = ToPath(*chosen);
    settings_.outputDir = FromPath(path.parent_path());
    settings_.outputFilename = FromPath(path.filename());
    return chosen;
}

bool GenerateFlow::IsCudaMissing() const {
    if (ExecutionProvider{settings_.executionProvider} != ExecutionProvider::Cuda) return false;
    try {
        const std::vector<std::string> listed = providers();
        return std::find(listed.begin(), listed.end(), kCudaProviderName) == listed.end();
    } catch (const std::exception&) {
        return false;  // the engine meets the same failure and reports it
    }
}

void GenerateFlow::Start(const std::wstring& outputPath) {
    sidebar_.SetGenerateEnabled(false);
    generateStartNs_ = clock();
    statusBase_ = Text(TextId::ConversionStarting);
    sidebar_.ShowStatus(statusBase_);
    timer_.start(kTickMs);

    try {
        ConversionEngine::StartAsync(engine_,
                                     {.modelPath = settings_.modelPath,
                                      .inputPath = inputImagePath,
                                      .outputPath = outputPath,
                                      .provider = ExecutionProvider{settings_.executionProvider}},
                                     PostTo(mailbox_, settings_.modelPath));
    } catch (const std::exception& failure) {
        engine_->busy = false;  // nothing runs, so the next start is free to try
        OnDone(WindowMessage(kGenerateDoneMessage, 1, FromUtf8(failure.what())));
    }
}

void GenerateFlow::OnProgress(const WindowMessage& message) {
    if (!message.Text()) return;
    statusBase_ = *message.Text();
    ShowElapsed();
}

void GenerateFlow::OnDone(const WindowMessage& message) {
    timer_.stop();
    if (!message.Text()) return;
    const std::wstring& text = *message.Text();
    sidebar_.SetGenerateEnabled(true);
    if (message.Value() == 0) {
        sidebar_.ShowStatus(WithSeconds(TextId::ConversionComplete, ElapsedSeconds()));
        if (onScene) onScene(text);
    } else {
        sidebar_.ShowStatus(Text(TextId::ConversionFailed) + text);
        KeepFailure(ToUtf8(text));
    }
    settings_.Save();
}

void GenerateFlow::Stop() {
    stopped_ = true;
    timer_.stop();
}

void GenerateFlow::ShowElapsed() {
    sidebar_.ShowStatus(statusBase_ + WithSeconds(TextId::ElapsedSuffix, ElapsedSeconds()));
}

int GenerateFlow::ElapsedSeconds() const {
    return static_cast<int>((clock() - generateStartNs_) / kSecondNs);
}

}  // namespace vistrel
