// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/loader/capture.h"

#include <QBuffer>
#include <QImage>
#include <QPixmap>
#include <QTimer>
#include <QWebEnginePage>
#include <QWebEngineScript>
#include <QWebEngineView>
#include <chrono>
#include <cstddef>
#include <utility>
#include <vector>

namespace vistrel::loader {
namespace {

constexpr std::chrono::seconds kLongestWait(10);

constexpr char16_t kLine[] = u"The display has caught up with picture ";

// Draws some frames more and says so. A frame in which nothing changes is skipped by the display
// and waits for nobody, hence the speck; it is too faint to change a pixel.
constexpr char16_t kCatchUp[] =
    uR"((() => {
    const speck = document.createElement("div");
    speck.style.cssText = "position:fixed;left:0;top:0;width:1px;height:1px;background:#000;" +
        "pointer-events:none;will-change:opacity";
    document.documentElement.append(speck);
    let frames = 8;
    const next = () => {
        frames -= 1;
        speck.style.opacity = frames % 2 === 0 ? 0.0001 : 0.0002;
        if (frames > 0) {
            requestAnimationFrame(next);
        } else {
            speck.remove();
            console.log("%1");
        }
    };
    next();
})())";

std::vector<std::byte> PngOf(QWebEngineView& view) {
    QImage image = view.grab().toImage();
    image.setDevicePixelRatio(1.0);
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, "PNG")) return {};
    const auto* bytes = reinterpret_cast<const std::byte*>(png.constData());
    return {bytes, bytes + png.size()};
}

bool IsShown(const QWebEngineView* view) {
    return view != nullptr && view->isVisible() && !view->size().isEmpty();
}

}  // namespace

Captures::Captures(QWebEngineView& view) : view_(&view) {}

void Captures::Start(WebView::CaptureCompleted completed) {
    const int number = ++lastNumber_;
    waiting_.emplace(number, std::move(completed));
    if (!IsShown(view_) || view_->page()->renderProcessPid() == 0) {
        later_.Post([this, number] { Finish(number); });
        return;
    }
    // In a world of its own the script meets nothing that the page has changed.
    view_->page()->runJavaScript(
        QString::fromUtf16(kCatchUp).arg(QString::fromUtf16(kLine) + QString::number(number)),
        QWebEngineScript::ApplicationWorld);
    QTimer::singleShot(kLongestWait, view_, [this, number] { Finish(number); });
}

bool Captures::TakeConsoleLine(const QString& line) {
    const QString start = QString::fromUtf16(kLine);
    if (!line.startsWith(start)) return false;
    const int number = line.mid(start.size()).toInt();
    later_.Post([this, number] { Finish(number); });
    return true;
}

void Captures::TakeAll() {
    while (!waiting_.empty()) Finish(waiting_.begin()->first);
}

void Captures::Finish(int number) {
    auto found = waiting_.extract(number);
    if (found.empty()) return;
    const std::vector<std::byte> png = IsShown(view_) ? PngOf(*view_) : std::vector<std::byte>();
    if (found.mapped()) {
        later_.Post([completed = std::move(found.mapped()), png] { completed(!png.empty(), png); });
    }
}

}  // namespace vistrel::loader
