// SPDX-License-Identifier: GPL-3.0-or-later
// A photograph's file -> the upright pixels that the window shows of it.
#pragma once

#include <QImage>
#include <QRect>
#include <QSize>
#include <string>

namespace vistrel {

// Of larger photographs only the size is told: most formats are read as a whole, which would take
// gigabytes.
inline constexpr qint64 kMostPreviewPixels = 200'000'000;

struct PreviewPicture {
    QSize size;     // of the whole photograph, upright, in pixels; empty where the file holds none
    QImage pixels;  // upright; perhaps fewer than `size`; null where the photograph is too large
};

// Reads what Qt has a reader for, turned as EXIF tells. A picture that does not fit into `bound` is
// shrunk to it while it is read. Any thread; nothing throws but std::bad_alloc.
[[nodiscard]] PreviewPicture ReadPreviewPicture(const std::wstring& path, const QSize& bound);

// Where a picture of this size is drawn in `area`: shrunk to fit, never enlarged, in the middle.
// Empty where one of them is.
[[nodiscard]] QRect PreviewRectangle(const QSize& picture, const QSize& area);

}  // namespace vistrel
