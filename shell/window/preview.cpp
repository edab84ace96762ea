// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/preview.h"

#include <QAccessibleWidget>
#include <QGuiApplication>
#include <QImageReader>
#include <QPainter>
#include <QScreen>
#include <exception>
#include <system_error>
#include <thread>
#include <utility>

#include "base/text_encoding.h"
#include "ui/mailbox.h"
#include "ui/theme.h"
#include "ui/wide_text.h"

namespace vistrel {
namespace {

constexpr char kName[] = "Preview";

class PictureRead : public QEvent {
  public:
    explicit PictureRead(PreviewPicture readPicture)
        : QEvent(QEvent::User), picture(std::move(readPicture)) {}

    PreviewPicture picture;
};

// No window gets larger than the largest screen.
QSize LargestScreen() {
    QSize largest(1920, 1080);
    for (const QScreen* const screen : QGuiApplication::screens()) {
        largest = largest.expandedTo(screen->size() * screen->devicePixelRatio());
    }
    return largest;
}

PreviewPicture ReadOrNothing(const std::wstring& path, const QSize& bound) {
    try {
        return ReadPreviewPicture(path, bound);
    } catch (const std::exception&) {
        return {};
    }
}

// To a screen reader a picture as long as it has a name, and nothing of interest else.
class AccessiblePreview : public QAccessibleWidget {
  public:
    explicit AccessiblePreview(QWidget* preview) : QAccessibleWidget(preview) {}

    [[nodiscard]] QAccessible::Role role() const override {
        return widget()->accessibleName().isEmpty() ? QAccessible::Client : QAccessible::Graphic;
    }
};

// Comes to see objects of the browser, too, which have no run-time types to look at.
QAccessibleInterface* MakeAccessible(const QString& /*className*/, QObject* object) {
    if (!object->isWidgetType() || object->objectName() != kName) return nullptr;
    return new AccessiblePreview(static_cast<QWidget*>(object));
}

}  // namespace

Preview::Preview(QWidget* parent) : QWidget(parent), mailbox_(Mailbox::Make(this)) {
    // Four bytes a pixel, eight in some formats while they are read. The limit of pixels is ours.
    QImageReader::setAllocationLimit(0);
    setObjectName(kName);
    QAccessible::installFactory(MakeAccessible);
}

Preview::~Preview() {
    mailbox_->Close();
}

void Preview::Show(const std::wstring& path) {
    Clear();
    wanted_ = path;
    setAccessibleName(FromWide(FromPath(ToPath(path).filename())));
    StartReading();
}

void Preview::Clear() {
    wanted_.reset();
    outdated_ = true;
    setAccessibleName({});
    picture_ = {};
    scaled_ = {};
    update();
}

void Preview::StartReading() {
    if (reading_ || !wanted_) return;
    try {
        std::thread([mailbox = mailbox_, path = *wanted_, bound = LargestScreen()] {
            mailbox->Post(std::make_unique<PictureRead>(ReadOrNothing(path, bound)));
        }).detach();
        reading_ = true;
        outdated_ = false;
    } catch (const std::system_error&) {
        // Without a thread there is no preview; the photograph can still be converted.
    }
    wanted_.reset();
}

void Preview::customEvent(QEvent* event) {
    reading_ = false;
    if (!outdated_) {
        picture_ = std::move(static_cast<PictureRead*>(event)->picture);
        update();
    }
    StartReading();
}

void Preview::paintEvent(QPaintEvent*) {
    const QRect place = PreviewRectangle(picture_.size, size());
    if (place.isEmpty()) return;
    if (picture_.pixels.isNull()) return PaintOutline(place);
    const QSize pixels = place.size() * devicePixelRatioF();
    if (scaled_.size() != pixels) {
        scaled_ = picture_.pixels.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    }
    QPainter(this).drawImage(place, scaled_);
}

// In every language.
void Preview::PaintOutline(const QRect& place) {
    QPainter painter(this);
    painter.setPen(kEdgeColour);
    painter.drawRect(place.adjusted(0, 0, -1, -1));
    painter.setPen(kTextColour);
    painter.setFont(NormalFont());
    painter.drawText(
        place, Qt::AlignCenter,
        QStringLiteral("%1 \u00D7 %2").arg(picture_.size.width()).arg(picture_.size.height()));
}

}  // namespace vistrel
