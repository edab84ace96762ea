#include "shell/start/run_program.h"

#include <QCoreApplication>
#include <cstddef>
#include <exception>
#include <iostream>

#include "shell/start/end_signals.h"
#include "shell/start/qt_translation.h"
#include "shell/window/key_filter.h"
#include "ui/mailbox.h"
#include "ui/ui_text.h"

namespace vistrel {
namespace {

constexpr std::size_t kExtractionFailedText = 37;
constexpr std::size_t kWindowFailedText = 40;

ProgramEnd Failed(const ProgramSteps& steps, std::size_t slot) {
    steps.tellFailure(Text(slot));
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
    if (!files) return Failed(steps, kExtractionFailedText);
    ProgramWindow window = MakeWindow(steps, *files);
    if (!window.widget) return Failed(steps, kWindowFailedText);
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
