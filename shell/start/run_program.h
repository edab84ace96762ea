// SPDX-License-Identifier: GPL-3.0-or-later
// From the start of the program to its end.
#pragma once

#include <QWidget>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "shell/start/extraction.h"

namespace vistrel {

class Mailbox;

// The window with what the program has to know of it.
struct ProgramWindow {
    std::unique_ptr<QWidget> widget;
    std::shared_ptr<Mailbox> messages;       // where keys that are commands go
    std::function<bool()> hasRunningWorker;  // asked once, before the window goes
};

// What the start is made of; tests put doubles in their place.
struct ProgramSteps {
    std::function<std::optional<ProgramFiles>()> extract;
    // May throw std::exception.
    std::function<ProgramWindow(const ProgramFiles& files)> makeWindow;
    // Shows the user why the program does not start, until he has read it.
    std::function<void(const std::wstring& text)> tellFailure;
};

struct ProgramEnd {
    int exitCode = 0;  // 1: it did not start
    // A worker goes on that nobody waits for: the process must end without destroying what it uses.
    bool workerRuns = false;
};

// Chooses the language, extracts the files, shows the window and runs the event loop until it is
// left. A signal that asks the program to end closes the window. Needs the application object.
[[nodiscard]] ProgramEnd RunProgram(const ProgramSteps& steps);

}  // namespace vistrel
