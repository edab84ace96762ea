// SPDX-License-Identifier: GPL-3.0-or-later
// The browser's page: shows what it is told to and asks the user nothing.
#pragma once

#include <QWebEnginePage>
#include <functional>

namespace vistrel::loader {

class Page : public QWebEnginePage {
  public:
    explicit Page(QWebEngineProfile& profile);

    // Whether alert, confirm and prompt show a dialog; otherwise each is answered as if cancelled.
    void SetScriptDialogs(bool shown) { scriptDialogs_ = shown; }
    // Hears every line of the page's console.
    void SetConsole(std::function<void(const QString& line)> console);

  protected:
    bool acceptNavigationRequest(const QUrl& url, NavigationType type, bool isMainFrame) override;
    QWebEnginePage* createWindow(WebWindowType type) override;
    QStringList chooseFiles(FileSelectionMode mode, const QStringList& oldFiles,
                            const QStringList& acceptedMimeTypes) override;
    void javaScriptAlert(const QUrl& origin, const QString& text) override;
    bool javaScriptConfirm(const QUrl& origin, const QString& text) override;
    bool javaScriptPrompt(const QUrl& origin, const QString& text, const QString& start,
                          QString* result) override;
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel level, const QString& text,
                                  int lineNumber, const QString& source) override;

  private:
    bool scriptDialogs_ = true;
    std::function<void(const QString& line)> console_;
};

}  // namespace vistrel::loader
