// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/mailbox.h"

#include <QCoreApplication>
#include <QObject>
#include <QPointer>
#include <deque>
#include <utility>

namespace vistrel {

// Lives in the receiver's thread. The events wait in a queue of our own and not in Qt's, so that
// dropping them needs no look into Qt's queue, and the lock that hands them over is one that thread
// checkers know.
class Mailbox::Relay : public QObject {
  public:
    Relay(std::mutex& mutex, QObject* receiver) : mutex_(mutex), receiver_(receiver) {}

    void Push(std::unique_ptr<QEvent> event) {
        waiting_.push_back(std::move(event));
        QCoreApplication::postEvent(this, new QEvent(QEvent::User));
    }

  protected:
    void customEvent(QEvent*) override {
        std::unique_ptr<QEvent> event;
        {
            const std::lock_guard lock(mutex_);
            event = std::move(waiting_.front());
            waiting_.pop_front();
        }
        const QPointer<Relay> self(this);
        ++delivering_;
        QCoreApplication::sendEvent(receiver_, event.get());
        if (self) --delivering_;
    }

  public:
    // Thread of the receiver.
    [[nodiscard]] bool IsDelivering() const { return delivering_ > 0; }

  private:
    std::mutex& mutex_;
    QObject* receiver_;
    std::deque<std::unique_ptr<QEvent>> waiting_;  // guarded by mutex_
    int delivering_ = 0;                           // a handler may run an event loop of its own
};

std::shared_ptr<Mailbox> Mailbox::Make(QObject* receiver) {
    return std::shared_ptr<Mailbox>(new Mailbox(receiver));
}

Mailbox::Mailbox(QObject* receiver) : relay_(std::make_unique<Relay>(mutex_, receiver)) {}

// Nobody can post any more; the receiver has closed the box, or there is no event loop left.
Mailbox::~Mailbox() = default;

void Mailbox::Post(std::unique_ptr<QEvent> event) {
    const std::lock_guard lock(mutex_);
    if (relay_) relay_->Push(std::move(event));
}

void Mailbox::Close() {
    std::unique_ptr<Relay> relay;
    {
        const std::lock_guard lock(mutex_);
        relay = std::move(relay_);
    }
    if (!relay) return;
    QCoreApplication::removePostedEvents(relay.get());
    // A handler that closes the box is called from inside the relay.
    if (relay->IsDelivering()) relay.release()->deleteLater();
}

}  // namespace vistrel
