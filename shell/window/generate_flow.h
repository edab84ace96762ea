// SPDX-License-Identifier: GPL-3.0-or-later
// From the Generate button to the scene on the screen.
#pragma once

#include <QTimer>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "engine/conversion_engine.h"

namespace vistrel {

struct AppSettings;
class Mailbox;
class WindowDialogs;
class Sidebar;
class WindowMessage;

// Thread of the event loop. What it is given outlives it; it may go while it asks a question.
class GenerateFlow {
  public:
    GenerateFlow(std::shared_ptr<ConversionEngine> engine, AppSettings& settings, Sidebar& sidebar,
                 WindowDialogs& dialogs, std::shared_ptr<Mailbox> mailbox);

    // The photograph to convert; empty: none.
    std::wstring inputImagePath;
    // Receives the finished scene, which is to be shown in SHARP mode; the settings are saved next.
    std::function<void(const std::wstring& path)> onScene;
    // Nanoseconds of a monotonic clock; a test sets its own.
    std::function<std::int64_t()> clock;
    // What is asked for CUDA before a start; a test sets its own.
    ProviderList providers = AvailableExecutionProviders;

    // Asks where to save and starts the engine, which then reports to the mailbox.
    void RunGenerate();
    // The button can be pressed with a photograph, a model and an idle engine.
    void UpdateButton();
    // The messages kGenerateProgressMessage and kGenerateDoneMessage; without a text they are
    // ignored, but the seconds stop with the latter.
    void OnProgress(const WindowMessage& message);
    void OnDone(const WindowMessage& message);
    // The window goes: ends the display of the seconds, and nothing is started any more.
    void Stop();

  private:
    std::optional<std::wstring> ChooseOutput();
    [[nodiscard]] bool IsCudaMissing() const;
    void Start(const std::wstring& outputPath);
    void ShowElapsed();
    [[nodiscard]] int ElapsedSeconds() const;

    const std::shared_ptr<ConversionEngine> engine_;
    AppSettings& settings_;
    Sidebar& sidebar_;
    WindowDialogs& dialogs_;
    std::shared_ptr<Mailbox> mailbox_;
    QTimer timer_;
    bool stopped_ = false;
    std::int64_t generateStartNs_ = 0;
    std::wstring statusBase_;
};

}  // namespace vistrel
