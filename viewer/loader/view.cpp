// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/loader/view.h"

#include <QChildEvent>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonValue>
#include <QPalette>
#include <QRect>
#include <QTimer>
#include <QVariant>
#include <QWebEngineSettings>
#include <QWebEngineView>
#include <chrono>
#include <utility>

#include "viewer/loader/address.h"

namespace vistrel::loader {
namespace {

// How long the end of the view may take at most.
constexpr std::chrono::seconds kLongestEnd{1};

// A view without a menu of its own, and through which dragged files pass to the window around it.
class BrowserWidget final : public QWebEngineView {
  public:
    explicit BrowserWidget(QWidget& host) : QWebEngineView(&host) {
        setContextMenuPolicy(Qt::PreventContextMenu);
        LetDropsThrough();
    }

  protected:
    bool event(QEvent* event) override {
        const bool handled = QWebEngineView::event(event);
        // The widget that draws comes anew with each helper process and takes drops at first.
        if (event->type() == QEvent::ChildAdded || event->type() == QEvent::ChildPolished) {
            LetDropsThrough();
        }
        return handled;
    }

  private:
    void LetDropsThrough() {
        setAcceptDrops(false);
        for (QWidget* child : findChildren<QWidget*>()) child->setAcceptDrops(false);
    }
};

std::wstring JsonOf(const QVariant& value) {
    const QJsonArray array = {QJsonValue::fromVariant(value)};
    const QString text = QString::fromUtf8(QJsonDocument(array).toJson(QJsonDocument::Compact));
    return text.mid(1, text.size() - 2).toStdWString();  // without the brackets
}

QString StatusName(QWebEnginePage::RenderProcessTerminationStatus status) {
    switch (status) {
        case QWebEnginePage::NormalTerminationStatus:
            return QStringLiteral("ended");
        case QWebEnginePage::AbnormalTerminationStatus:
            return QStringLiteral("ended abnormally");
        case QWebEnginePage::CrashedTerminationStatus:
            return QStringLiteral("crashed");
        case QWebEnginePage::KilledTerminationStatus:
            return QStringLiteral("was killed");
    }
    return QStringLiteral("is gone");
}

}  // namespace

View::View(QWidget& host, std::shared_ptr<Profile> profile)
    : profile_(std::move(profile)),
      widget_(new BrowserWidget(host)),
      page_(std::make_unique<Page>(profile_->Get())),
      captures_(*widget_) {
    widget_->setPage(page_.get());
    // The page's own background comes no sooner than its process.
    QPalette palette = widget_->palette();
    palette.setColor(QPalette::Window, page_->backgroundColor());
    widget_->setPalette(palette);
    widget_->setAutoFillBackground(true);
    // What a screen reader says where the keyboard focus comes to the view.
    QObject::connect(page_.get(), &QWebEnginePage::titleChanged, widget_,
                     &QWidget::setAccessibleName);
    page_->SetConsole([this](const QString& line) { OnConsoleLine(line); });
    QObject::connect(page_.get(), &QWebEnginePage::loadStarted, page_.get(),
                     [this] { OnLoadStarted(); });
    QObject::connect(page_.get(), &QWebEnginePage::urlChanged, page_.get(),
                     [this] { OnAddressChanged(); });
    QObject::connect(page_.get(), &QWebEnginePage::loadFinished, page_.get(),
                     [this](bool success) { OnLoadFinished(success); });
    QObject::connect(page_.get(), &QWebEnginePage::renderProcessTerminated, page_.get(),
                     [this](QWebEnginePage::RenderProcessTerminationStatus status, int exitCode) {
                         OnProcessEnded(status, exitCode);
                     });
}

View::~View() {
    later_.Stop();
    captures_.Stop();
    page_->disconnect(page_.get());
    page_->SetConsole({});
    LetPageFinish();
    // Local storage is kept only when page, widget and profile end in this order.
    page_.reset();
    delete widget_;
}

void View::SetBounds(const QRect& bounds) {
    if (widget_) widget_->setGeometry(bounds);
}

void View::SetVisible(bool visible) {
    if (!visible) captures_.TakeAll();
    if (widget_) widget_->setVisible(visible);
}

void View::Navigate(const std::wstring& url) {
    const QUrl address = AddressOf(url);
    if (IsLocal(address)) {
        expectsLoad_ = true;
        page_->load(address);
    } else {
        OnLoadFinished(false);
    }
}

void View::ExecuteScript(const std::wstring& script, ScriptCompleted completed) {
    const int number = ++lastScript_;
    scripts_.emplace(number, std::move(completed));
    if (helperIsGone_) {
        CompleteScript(number, false, {});
        return;
    }
    page_->runJavaScript(QString::fromStdWString(script),
                         [this, number, page = QPointer<Page>(page_.get())](const QVariant& value) {
                             // A page that is being destroyed answers too.
                             if (!page || page_.get() != page) return;
                             FailScripts(number - 1);  // they answer in their order
                             CompleteScript(number, true, value);
                         });
}

void View::CapturePreview(CaptureCompleted completed) {
    captures_.Start(std::move(completed));
}

void View::SetNavigationCompletedHandler(NavigationCompleted handler) {
    navigationCompleted_ = std::move(handler);
}

void View::SetProcessFailedHandler(ProcessFailed handler) {
    processFailed_ = std::move(handler);
}

void View::SetConsoleMessageHandler(ConsoleMessage handler) {
    consoleMessage_ = std::move(handler);
}

void View::SetScriptEnabled(bool enabled) {
    page_->settings()->setAttribute(QWebEngineSettings::JavascriptEnabled, enabled);
}

void View::SetDefaultScriptDialogsEnabled(bool enabled) {
    page_->SetScriptDialogs(enabled);
}

// This browser has neither a status bar nor messages from the page that could be turned on.
void View::SetStatusBarEnabled(bool /*enabled*/) {}
void View::SetWebMessageEnabled(bool /*enabled*/) {}

void View::OnLoadStarted() {
    expectsLoad_ = false;
    helperIsGone_ = false;
}

void View::OnAddressChanged() {
    // Nothing is loaded when only what stands behind the "#" is another.
    if (expectsLoad_) OnLoadFinished(true);
}

void View::OnLoadFinished(bool success) {
    expectsLoad_ = false;
    hasPage_ = hasPage_ || success;
    if (success && std::exchange(isDrawnAnew_, false)) ComeBackOnScreen();
    // Scripts that were sent to the document before this one may have been lost with it.
    if (!scripts_.empty()) ExecuteScript(L"", {});
    later_.Post([this, success] {
        const NavigationCompleted handler = navigationCompleted_;
        if (handler) handler(success);
    });
}

// What a second helper process draws does not reach the screen until its widget is shown again.
void View::ComeBackOnScreen() {
    if (!widget_ || !widget_->isVisible()) return;
    widget_->hide();
    widget_->show();
}

void View::OnProcessEnded(QWebEnginePage::RenderProcessTerminationStatus status, int exitCode) {
    helperIsGone_ = true;
    isDrawnAnew_ = true;
    FailScripts(lastScript_);
    later_.Post([this] { captures_.TakeAll(); });
    const QString reason = QStringLiteral("The page's process %1 with exit code %2")
                               .arg(StatusName(status))
                               .arg(exitCode);
    later_.Post([this, reason = reason.toStdWString()] {
        const ProcessFailed handler = processFailed_;
        if (handler) handler(reason);
    });
}

void View::OnConsoleLine(const QString& line) {
    if (captures_.TakeConsoleLine(line)) return;
    later_.Post([this, text = line.toStdWString()] {
        const ConsoleMessage handler = consoleMessage_;
        if (handler) handler(text);
    });
}

void View::CompleteScript(int number, bool success, const QVariant& value) {
    auto found = scripts_.extract(number);
    if (found.empty() || !found.mapped()) return;
    later_.Post([completed = std::move(found.mapped()), success, json = JsonOf(value)] {
        completed(success, json);
    });
}

void View::FailScripts(int last) {
    while (!scripts_.empty() && scripts_.begin()->first <= last) {
        CompleteScript(scripts_.begin()->first, false, {});
    }
}

// The helper dies with the page even in the middle of its work. What it was told before, and what
// it puts into the local storage because of that, would be lost.
void View::LetPageFinish() {
    if (!hasPage_ || helperIsGone_) return;
    QEventLoop loop;
    QObject::connect(page_.get(), &QWebEnginePage::renderProcessTerminated, &loop,
                     &QEventLoop::quit);
    QTimer::singleShot(kLongestEnd, &loop, &QEventLoop::quit);
    page_->runJavaScript(QString(), [waiting = QPointer(&loop)](const QVariant& /*value*/) {
        if (waiting) waiting->quit();
    });
    loop.exec(QEventLoop::ExcludeUserInputEvents);
}

}  // namespace vistrel::loader
