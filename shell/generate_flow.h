// From the Generate button to the scene on the screen.
#pragma once

#include <QTimer>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "engine/conversion_engine.h"

namespace vistrel {

struct AppSettings;
class Mailbox;
class Questions;
class Sidebar;
class WindowMessage;

// Thread of the event loop. What it is given outlives it.
class GenerateFlow {
  public:
    GenerateFlow(ConversionEngine& engine, AppSettings& settings, Sidebar& sidebar,
                 Questions& questions, std::shared_ptr<Mailbox> mailbox);

    // The photograph to convert; empty: none.
    std::wstring inputImagePath;
    // Receives the finished scene, which is to be shown in SHARP mode.
    std::function<void(const std::wstring& path)> onScene;
    // Nanoseconds of a monotonic clock; a test sets its own.
    std::function<std::int64_t()> clock;

    void RunGenerate();
    // Model box, download button, Generate button.
    void UpdateModelDisplay();
    void OnProgress(const WindowMessage& message);
    void OnDone(const WindowMessage& message);
    // Stops the display of the seconds.
    void Stop();

  private:
    void ShowElapsed();
    [[nodiscard]] int ElapsedSeconds() const;

    ConversionEngine& engine_;
    AppSettings& settings_;
    Sidebar& sidebar_;
    Questions& questions_;
    std::shared_ptr<Mailbox> mailbox_;
    QTimer timer_;
    std::int64_t generateStartNs_ = 0;
    std::wstring statusBase_;
};

}  // namespace vistrel
