// Waiting for what the event loop brings about.
#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>
#include <functional>

namespace vistrel::test {

// Runs the event loop until the condition holds; false after too long a time.
[[nodiscard]] inline bool WaitUntil(const std::function<bool()>& condition) {
    constexpr int kLongMs = 60'000;
    const QDeadlineTimer deadline(kLongMs);
    QTimer alarm;  // wakes the loop where nothing else does
    alarm.start(100);
    while (!condition()) {
        if (deadline.hasExpired()) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    return true;
}

}  // namespace vistrel::test
