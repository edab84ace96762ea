// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/wait_until.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

namespace vistrel::test {

bool WaitUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + timeout;
    // Conditions that no event announces are looked at from time to time.
    QTimer alarm;
    alarm.start(10);
    while (!condition()) {
        if (Clock::now() > end) return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

void DeliverPosted() {
    bool delivered = false;
    QTimer::singleShot(0, [&] { delivered = true; });
    while (!delivered) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

void TakeBackExit() {
    QTimer::singleShot(0, [] { QCoreApplication::exit(); });
    QCoreApplication::exec();
}

}  // namespace vistrel::test
