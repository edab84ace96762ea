// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures of what a browser view shows.
#pragma once

#include <QPointer>
#include <QString>
#include <map>

#include "viewer/loader/later.h"
#include "viewer/web_view.h"

class QWebEngineView;

namespace vistrel::loader {

// The pictures that are being taken of one view. Thread of the event loop.
class Captures {
  public:
    explicit Captures(QWebEngineView& view);

    // At device pixels. The display runs some frames behind the page, so the picture is taken when
    // it has caught up; a page that draws no more frames is taken as it is after some seconds.
    void Start(WebView::CaptureCompleted completed);

    // Whether a line of the page's console was meant for this object and no one else.
    bool TakeConsoleLine(const QString& line);

    // Takes the pictures that are still waited for, now: the page will not be seen any more.
    void TakeAll();

    // Nobody is called any more.
    void Stop() { later_.Stop(); }

  private:
    void Finish(int number);

    QPointer<QWebEngineView> view_;
    int lastNumber_ = 0;
    std::map<int, WebView::CaptureCompleted> waiting_;
    Later later_;
};

}  // namespace vistrel::loader
