// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/mailbox.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QObject>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "shell/window/window_messages.h"

namespace vistrel {
namespace {

class Receiver : public QObject {
  public:
    std::vector<quintptr> received;
    std::function<void()> then;

  protected:
    void customEvent(QEvent* event) override {
        received.push_back(static_cast<WindowMessage*>(event)->Value());
        if (then) then();
    }
};

std::unique_ptr<WindowMessage> Message(quintptr value) {
    return std::make_unique<WindowMessage>(kWebViewReadyMessage, value);
}

TEST(Mailbox, EventsOfAnotherThreadArriveInOrder) {
    Receiver receiver;
    const auto box = Mailbox::Make(&receiver);
    std::thread([box] {
        for (quintptr i = 0; i < 100; ++i) box->Post(Message(i));
    }).join();
    EXPECT_TRUE(receiver.received.empty());

    QCoreApplication::processEvents();

    std::vector<quintptr> expected;
    for (quintptr i = 0; i < 100; ++i) expected.push_back(i);
    EXPECT_EQ(receiver.received, expected);
    box->Close();
}

TEST(Mailbox, WaitingEventsAreLostOnceTheBoxIsClosed) {
    auto receiver = std::make_unique<Receiver>();
    const auto box = Mailbox::Make(receiver.get());
    box->Post(Message(1));
    box->Close();
    receiver.reset();
    box->Post(Message(2));
    QCoreApplication::processEvents();
}

TEST(Mailbox, HandlerMayCloseTheBox) {
    Receiver receiver;
    const auto box = Mailbox::Make(&receiver);
    receiver.then = [&box] { box->Close(); };
    box->Post(Message(1));
    box->Post(Message(2));
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(receiver.received, std::vector<quintptr>{1});
}

TEST(Mailbox, HandlerMayRunAnEventLoop) {
    Receiver receiver;
    const auto box = Mailbox::Make(&receiver);
    receiver.then = [] { QCoreApplication::processEvents(); };
    box->Post(Message(1));
    box->Post(Message(2));
    QCoreApplication::processEvents();
    EXPECT_EQ(receiver.received, (std::vector<quintptr>{1, 2}));
    box->Close();
}

TEST(Mailbox, ThreadsMayPostWhileTheBoxIsClosed) {
    Receiver receiver;
    const auto box = Mailbox::Make(&receiver);
    std::thread other([box] {
        for (quintptr i = 0; i < 1000; ++i) box->Post(Message(i));
    });
    QCoreApplication::processEvents();
    box->Close();
    other.join();
    QCoreApplication::processEvents();
    EXPECT_LE(receiver.received.size(), 1000U);
}

}  // namespace
}  // namespace vistrel
