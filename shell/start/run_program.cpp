// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/start/run_program.h"

#include <QCoreApplication>
#include <exception>
#include <iostream>

#include "shell/start/end_signals.h"
#include "shell/window/key_filter.h"
#include "ui/language.h"
#include "ui/mailbox.h"
#include "ui/ui_text.h"

namespace vistrel {
namespace {

ProgramEnd Failed(const ProgramSteps& steps, TextId reason) {
    steps.tellFailure(Text(reason));
    return {.exitCode = 1};
}

ProgramWindow MakeWindow(const ProgramSteps& steps, const ProgramFiles& files) {
    try {
        return steps.makeWindow(files);
    } catch (const std::exception& failure) {
        std::cerr << "Vistrel: " << failure.what() << '\n';
        return {};
    }
}

}  // namespace

ProgramEnd RunProgram(const ProgramSteps& steps) {
    gUiText = IsJapaneseUser() ? &kJapaneseText : &kEnglishText;
    InstallQtTranslation();
    const std::optional<ProgramFiles> files = steps.extract();
    if (!files) return Failed(steps, TextId::ExtractionFailed);
    ProgramWindow window = MakeWindow(steps, *files);
    if (!window.widget) return Failed(steps, TextId::WindowFailed);
    window.widget->show();

    ProgramEnd end;
    {
        const KeyFilter keys(window.messages);
        const EndSignals endSignals([&window] { window.widget->close(); });
        end.exitCode = QCoreApplication::exec();
    }
    end.workerRuns = window.hasRunningWorker();
    return end;
}

}  // namespace vistrel
