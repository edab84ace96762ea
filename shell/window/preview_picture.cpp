// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/preview_picture.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <QImageReader>
#include <QTransform>
#include <algorithm>

#include "base/text_encoding.h"
#include "engine/exif_orientation.h"

namespace vistrel {
namespace {

// By descriptor, since Qt's names of files cannot hold every name; without waiting for a pipe that
// nobody writes to.
class PictureFile {
  public:
    explicit PictureFile(const std::wstring& path)
        : descriptor_(::open(ToPath(path).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
        struct stat status = {};
        const bool regular =
            descriptor_ >= 0 && ::fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode);
        if (regular) file_.open(descriptor_, QIODevice::ReadOnly);
    }
    ~PictureFile() {
        file_.close();
        if (descriptor_ >= 0) ::close(descriptor_);
    }
    PictureFile(const PictureFile&) = delete;
    PictureFile& operator=(const PictureFile&) = delete;

    // Open where there is such a file.
    QFile& Device() { return file_; }

  private:
    const int descriptor_;
    QFile file_;
};

bool LiesOnItsSide(int orientation) {
    return orientation >= 5 && orientation <= 8;
}

// Turned clockwise first, then mirrored.
QImage Upright(const QImage& picture, int orientation) {
    const auto turned = [&](qreal degrees) {
        return picture.transformed(QTransform().rotate(degrees));
    };
    switch (orientation) {
        case 2:
            return picture.mirrored(true, false);
        case 3:
            return picture.mirrored(true, true);
        case 4:
            return picture.mirrored(false, true);
        case 5:
            return turned(90).mirrored(true, false);
        case 6:
            return turned(90);
        case 7:
            return turned(270).mirrored(true, false);
        case 8:
            return turned(270);
        default:
            return picture;
    }
}

}  // namespace

PreviewPicture ReadPreviewPicture(const std::wstring& path, const QSize& bound) {
    PictureFile file(path);
    if (!file.Device().isOpen()) return {};
    QImageReader reader(&file.Device());
    reader.setAutoTransform(false);  // Qt does not know the orientation of every format
    const QSize stored = reader.size();
    if (stored.isEmpty()) return {};
    const int orientation = ReadExifOrientation(path);
    const QSize upright = LiesOnItsSide(orientation) ? stored.transposed() : stored;
    if (static_cast<qint64>(stored.width()) * stored.height() > kMostPreviewPixels)
        return {upright, {}};

    const QSize storedBound = LiesOnItsSide(orientation) ? bound.transposed() : bound;
    if (stored.width() > storedBound.width() || stored.height() > storedBound.height()) {
        reader.setScaledSize(stored.scaled(storedBound, Qt::KeepAspectRatio).expandedTo({1, 1}));
    }
    const QImage pixels = Upright(reader.read(), orientation);
    if (pixels.isNull()) return {};
    const bool opaque = !pixels.hasAlphaChannel();
    return {upright, pixels.convertToFormat(opaque ? QImage::Format_RGB32
                                                   : QImage::Format_ARGB32_Premultiplied)};
}

QRect PreviewRectangle(const QSize& picture, const QSize& area) {
    if (picture.isEmpty() || area.isEmpty()) return {};
    const auto pictureWidth = static_cast<float>(picture.width());
    const auto pictureHeight = static_cast<float>(picture.height());
    const float scale = std::min({static_cast<float>(area.width()) / pictureWidth,
                                  static_cast<float>(area.height()) / pictureHeight, 1.0F});
    const int width = static_cast<int>(scale * pictureWidth);
    const int height = static_cast<int>(scale * pictureHeight);
    return {(area.width() - width) / 2, (area.height() - height) / 2, width, height};
}

}  // namespace vistrel
