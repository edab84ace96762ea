// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/snapshot/snapshot_surroundings.h"

#include <unistd.h>

#include <QByteArray>
#include <QCoreApplication>
#include <QString>
#include <QtGlobal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace vistrel {
namespace {

std::string_view Variable(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

// Never destroyed: messages come until the process ends.
std::filesystem::path& FolderToRemove() {
    static auto* const folder = new std::filesystem::path;
    return *folder;
}

// Qt would abort.
void OnMessage(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text) {
    if (type == QtDebugMsg || type == QtInfoMsg) return;
    std::fprintf(stderr, "%s%s\n", type == QtFatalMsg ? "Error: " : "", qPrintable(text));
    if (type != QtFatalMsg) return;
    std::error_code ignored;
    std::filesystem::remove_all(FolderToRemove(), ignored);
    std::_Exit(EXIT_FAILURE);
}

}  // namespace

bool HasDisplay() {
    return !Variable("DISPLAY").empty() || !Variable("WAYLAND_DISPLAY").empty();
}

void CheckSandbox() {
    const std::string_view disabled = Variable("QTWEBENGINE_DISABLE_SANDBOX");
    const std::string_view flags = Variable("QTWEBENGINE_CHROMIUM_FLAGS");
    if (geteuid() != 0 || (!disabled.empty() && disabled != "0") ||
        flags.find("--no-sandbox") != flags.npos) {
        return;
    }
    throw std::runtime_error(
        "the browser does not run as root, since its sandbox cannot. Run this as another user, or, "
        "for scenes that you trust, with QTWEBENGINE_DISABLE_SANDBOX=1.");
}

void RefuseFolder(const std::filesystem::path& output) {
    if (std::filesystem::is_directory(output)) {
        throw std::runtime_error(output.native() + " is a folder");
    }
}

void PrepareApplication(const std::filesystem::path& folder) {
    const QByteArray bytes = folder.c_str();
    for (const char* variable : {"XDG_DATA_HOME", "XDG_CACHE_HOME"}) qputenv(variable, bytes);
    if (Variable("XDG_RUNTIME_DIR").empty()) qputenv("XDG_RUNTIME_DIR", bytes);
    qputenv("QT_ENABLE_HIGHDPI_SCALING", "0");
    qunsetenv("QT_SCALE_FACTOR");
    qunsetenv("QT_SCREEN_SCALE_FACTORS");
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    FolderToRemove() = folder;
    qInstallMessageHandler(OnMessage);
}

}  // namespace vistrel
