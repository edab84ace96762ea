// The program's entry point.
#include <unistd.h>

#include <QApplication>
#include <QIcon>
#include <QMessageBox>
#include <QString>
#include <QStyleHints>
#include <cstdio>
#include <memory>
#include <utility>

#include "shell/embedded_resources.h"
#include "shell/main_window.h"
#include "shell/start_up.h"
#include "shell/wide_text.h"

namespace {

QIcon ProgramIcon() {
    vistrel::RegisterEmbeddedResources();
    QIcon icon;
    for (const int size : {16, 32, 48, 128, 256}) icon.addFile(QString(":/101/%1").arg(size));
    return icon;
}

vistrel::ProgramWindow MakeMainWindow(const vistrel::ProgramFiles& files) {
    auto window = std::make_unique<vistrel::MainWindow>(files.webDir, files.appDir);
    vistrel::ProgramWindow result;
    result.messages = window->Messages();
    result.hasRunningWorker = [window = window.get()] { return window->HasRunningWorker(); };
    result.widget = std::move(window);
    return result;
}

void TellFailure(const std::wstring& text) {
    QMessageBox::critical(nullptr, "Vistrel", vistrel::FromWide(text));
}

vistrel::ProgramEnd Run(int& argc, char** argv) {
    // The browser draws with the program's graphics contexts.
    QApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication::setApplicationName("Vistrel");
    QApplication::setDesktopFileName("vistrel");
    const QApplication application(argc, argv);
    QApplication::setWindowIcon(ProgramIcon());
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    QApplication::styleHints()->setColorScheme(Qt::ColorScheme::Dark);  // the title bar's
#endif
    return vistrel::RunProgram({.extract = [] { return vistrel::ExtractResources(); },
                                .makeWindow = MakeMainWindow,
                                .tellFailure = TellFailure});
}

}  // namespace

int main(int argc, char** argv) {
    const vistrel::ProgramEnd end = Run(argc, argv);
    if (end.workerRuns) {
        std::fflush(nullptr);
        _exit(end.exitCode);
    }
    return end.exitCode;
}
