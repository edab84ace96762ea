// SPDX-License-Identifier: GPL-3.0-or-later
// The viewer area as long as it shows no scene: the chosen photograph, or nothing.
#pragma once

#include <QImage>
#include <QWidget>
#include <memory>
#include <optional>
#include <string>

#include "shell/window/preview_picture.h"

namespace vistrel {

class Mailbox;

// Thread of the event loop; files are read on a thread of its own, one at a time.
class Preview : public QWidget {
  public:
    explicit Preview(QWidget* parent);
    ~Preview() override;

    // Shows the photograph as soon as it is read, and nothing until then; of one that is too large
    // its outline with the number of pixels. A file that is none is not shown.
    void Show(const std::wstring& path);
    void Clear();
    // Whether a file is being read, which nobody waits for.
    [[nodiscard]] bool IsReading() const { return reading_; }

  protected:
    void customEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    void StartReading();
    void PaintOutline(const QRect& place);

    std::shared_ptr<Mailbox> mailbox_;
    std::optional<std::wstring> wanted_;  // to be read next
    bool reading_ = false;
    bool outdated_ = false;  // what is being read is no longer wanted
    PreviewPicture picture_;
    QImage scaled_;  // the picture for the size at which it was drawn last
};

}  // namespace vistrel
