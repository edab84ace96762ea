// SPDX-License-Identifier: GPL-3.0-or-later
// The events that worker threads and the key filter post to the windows.
#pragma once

#include <QEvent>
#include <QtGlobal>
#include <optional>
#include <string>
#include <utility>

namespace vistrel {

// Numbers of the events, valid as QEvent::Type.
inline constexpr int kKeyDownMessage = 0x8000 - 1;           // value: the key
inline constexpr int kGenerateProgressMessage = 0x8000 + 1;  // text: the stage
inline constexpr int kGenerateDoneMessage = 0x8000 + 2;      // value 0: text is the output path,
                                                             // 1: text is the failure
inline constexpr int kDownloadProgressMessage = 0x8000 + 3;  // value: 0 to 1000; text: the status
inline constexpr int kDownloadDoneMessage = 0x8000 + 4;      // value 0: text is the destination,
                                                             // 1: text is the failure
inline constexpr int kWebViewReadyMessage = 0x8000 + 5;      // value: 1 ready, 0 failed; no text
inline constexpr int kModelFileErrorMessage = 0x8000 + 6;    // text: the network's file, which a
                                                             // conversion could not open

class WindowMessage : public QEvent {
  public:
    WindowMessage(int number, quintptr value, std::optional<std::wstring> text = std::nullopt)
        : QEvent(static_cast<QEvent::Type>(number)), value_(value), text_(std::move(text)) {}

    [[nodiscard]] quintptr Value() const { return value_; }
    // Where it is missing and the message should have one, the message is ignored.
    [[nodiscard]] const std::optional<std::wstring>& Text() const { return text_; }

  private:
    quintptr value_;
    std::optional<std::wstring> text_;
};

}  // namespace vistrel
