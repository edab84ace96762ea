// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/start/program.h"

#include <unistd.h>

#include <QApplication>
#include <QIcon>
#include <QMessageBox>
#include <QString>
#include <QStyleHints>
#include <cstdio>
#include <memory>
#include <utility>

#include "base/new_file.h"
#include "batch/dialogs/batch_dialog.h"
#include "shell/start/dark_title_bars.h"
#include "shell/start/desktop_service.h"
#include "shell/start/display_failure.h"
#include "shell/start/embedded_resources.h"
#include "shell/start/run_program.h"
#include "shell/start/window_activation.h"
#include "ui/wide_text.h"

namespace vistrel {
namespace {

QIcon ProgramIcon() {
    RegisterEmbeddedResources();
    QIcon icon;
    for (const int size : {16, 32, 48, 128}) icon.addFile(QString(":/101/%1").arg(size));
    return icon;
}

void RunBatch(QWidget* owner, const std::shared_ptr<ConversionEngine>& engine,
              const AppSettings& settings) {
    BatchDialog(owner, engine, &settings).exec();
}

// An open dialog keeps files away, as it does those that are dropped on the window.
std::unique_ptr<QObject> AnswerDesktop(MainWindow& window) {
    if (!HasSessionBus()) return nullptr;
    return std::make_unique<DesktopService>(
        DesktopCalls{.activate =
                         [&window](const QVariantMap& platformData) {
                             QWidget* const dialog = QApplication::activeModalWidget();
                             BringToFront(dialog != nullptr ? *dialog : window, platformData);
                         },
                     .open =
                         [&window](const QList<QUrl>& files) {
                             if (QApplication::activeModalWidget() == nullptr)
                                 window.TakeFiles(files);
                         }},
        QDBusConnection::sessionBus());
}

ProgramWindow MakeMainWindow(const ProgramFiles& files, MainWindowServices services) {
    services.runBatch = RunBatch;
    services.answerDesktop = AnswerDesktop;
    auto window = std::make_unique<MainWindow>(files.webDir, files.appDir, std::move(services));
    ProgramWindow result;
    result.messages = window->Messages();
    result.hasRunningWorker = [window = window.get()] {
        return window->HasRunningWorker() || BatchDialog::AnyRunning();
    };
    result.widget = std::move(window);
    return result;
}

void TellFailure(const std::wstring& text) {
    QMessageBox::critical(nullptr, "Vistrel", FromWide(text));
}

QApplication MakeApplication(int& argc, char** argv) {
    const DisplayFailureTold told;
    return QApplication(argc, argv);
}

ProgramEnd Run(int& argc, char** argv, const MainWindowServices& services) {
    // The browser draws with the program's graphics contexts.
    QApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication::setApplicationName("Vistrel");
    QApplication::setDesktopFileName("org.vistrel.vistrel");
    const QApplication application = MakeApplication(argc, argv);
    const DarkTitleBars darkTitleBars;
    QApplication::setWindowIcon(ProgramIcon());
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    QApplication::styleHints()->setColorScheme(Qt::ColorScheme::Dark);  // the title bar's
#endif
    return RunProgram(
        {.extract = [] { return ExtractResources(); },
         .makeWindow =
             [&services](const ProgramFiles& files) { return MakeMainWindow(files, services); },
         .tellFailure = TellFailure});
}

}  // namespace

int RunVistrel(int argc, char** argv, const MainWindowServices& services) {
    const ProgramEnd end = Run(argc, argv, services);
    if (end.workerRuns) {
        DiscardUnfinishedFiles();
        std::fflush(nullptr);
        _exit(end.exitCode);
    }
    return end.exitCode;
}

}  // namespace vistrel
