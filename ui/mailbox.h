// SPDX-License-Identifier: GPL-3.0-or-later
// A way for any thread to send events to a window that may be gone by then.
#pragma once

#include <QEvent>
#include <memory>
#include <mutex>

class QObject;

namespace vistrel {

// Shared by the window and those who post to it. Posted events reach the receiver through its
// event loop, in order; once the box is closed they are lost in silence.
class Mailbox {
  public:
    // Thread of the receiver, which outlives the box or closes it before it goes.
    static std::shared_ptr<Mailbox> Make(QObject* receiver);
    ~Mailbox();
    Mailbox(const Mailbox&) = delete;
    Mailbox& operator=(const Mailbox&) = delete;

    // Any thread.
    void Post(std::unique_ptr<QEvent> event);

    // Thread of the receiver. Nothing is delivered from here on.
    void Close();

  private:
    class Relay;
    explicit Mailbox(QObject* receiver);

    std::mutex mutex_;
    std::unique_ptr<Relay> relay_;  // guarded by mutex_; null once closed
};

}  // namespace vistrel
