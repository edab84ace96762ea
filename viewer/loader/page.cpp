// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/loader/page.h"

#include <QColor>
#include <QCoreApplication>
#include <utility>

#include "viewer/loader/address.h"

namespace vistrel::loader {
namespace {

// The window's own background, so that nothing flashes before the page is there.
constexpr QColor kBackground(30, 30, 46);

}  // namespace

Page::Page(QWebEngineProfile& profile) : QWebEnginePage(&profile) {
    setBackgroundColor(kBackground);
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    connect(this, &QWebEnginePage::permissionRequested, this,
            [](const QWebEnginePermission& asked) { asked.deny(); });
#else
    connect(this, &QWebEnginePage::featurePermissionRequested, this,
            [this](const QUrl& origin, Feature feature) {
                setFeaturePermission(origin, feature, PermissionDeniedByUser);
            });
#endif
}

void Page::SetConsole(std::function<void(const QString& line)> console) {
    console_ = std::move(console);
}

// Back and forward, as on many a mouse, would leave the scene.
bool Page::acceptNavigationRequest(const QUrl& url, NavigationType type, bool /*isMainFrame*/) {
    return IsLocal(url) && type != NavigationTypeBackForward;
}

QWebEnginePage* Page::createWindow(WebWindowType /*type*/) {
    return nullptr;
}

QStringList Page::chooseFiles(FileSelectionMode /*mode*/, const QStringList& /*oldFiles*/,
                              const QStringList& /*acceptedMimeTypes*/) {
    return {};
}

void Page::javaScriptAlert(const QUrl& origin, const QString& text) {
    if (scriptDialogs_) QWebEnginePage::javaScriptAlert(origin, text);
}

bool Page::javaScriptConfirm(const QUrl& origin, const QString& text) {
    if (scriptDialogs_) return QWebEnginePage::javaScriptConfirm(origin, text);
    // A page that asks before it is left comes here too, known by Qt's text alone; without a dialog
    // nothing may keep the program from showing another page.
    return text == QCoreApplication::translate(
                       "QWebEnginePage",
                       "Are you sure you want to leave this page? Changes that you made may not "
                       "be saved.");
}

bool Page::javaScriptPrompt(const QUrl& origin, const QString& text, const QString& start,
                            QString* result) {
    return scriptDialogs_ && QWebEnginePage::javaScriptPrompt(origin, text, start, result);
}

void Page::javaScriptConsoleMessage(JavaScriptConsoleMessageLevel /*level*/, const QString& text,
                                    int /*lineNumber*/, const QString& /*source*/) {
    if (console_) console_(text);
}

}  // namespace vistrel::loader
