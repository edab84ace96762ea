// SPDX-License-Identifier: GPL-3.0-or-later
// The window's end of a mailbox.
#pragma once

#include <QObject>
#include <QtGlobal>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "shell/window/window_messages.h"
#include "ui/mailbox.h"

namespace vistrel::test {

// Keeps what arrives, and hands it on.
class MessageReceiver : public QObject {
  public:
    struct Received {
        int number;
        quintptr value;
        std::optional<std::wstring> text;
        bool operator==(const Received&) const = default;
    };

    MessageReceiver() : mailbox(Mailbox::Make(this)) {}
    ~MessageReceiver() override { mailbox->Close(); }

    const std::shared_ptr<Mailbox> mailbox;
    std::vector<Received> received;
    std::function<void(const WindowMessage& message)> then;

  protected:
    void customEvent(QEvent* event) override {
        const auto& message = static_cast<const WindowMessage&>(*event);
        received.push_back({event->type(), message.Value(), message.Text()});
        if (then) then(message);
    }
};

}  // namespace vistrel::test
