// SPDX-License-Identifier: GPL-3.0-or-later
#include "benchmarks/start_up/milestones.h"

#include <QCoreApplication>
#include <QEvent>
#include <QWindow>
#include <chrono>
#include <cstdio>

namespace vistrel {
namespace {

void Print(const char* what) {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    const auto started =
        std::chrono::nanoseconds(qEnvironmentVariable("VISTREL_STARTED").toLongLong());
    std::printf("%s %.6f\n", what, std::chrono::duration<double>(now - started).count());
    std::fflush(stdout);
}

}  // namespace

void Milestones::PageIsReady() {
    Print("ready");
    QCoreApplication::quit();
}

bool Milestones::eventFilter(QObject* watched, QEvent* event) {
    const auto* window =
        event->type() == QEvent::Expose ? qobject_cast<QWindow*>(watched) : nullptr;
    if (window != nullptr && window->isTopLevel() && window->isExposed() && !shown_) {
        shown_ = true;
        Print("shown");
    }
    return false;
}

}  // namespace vistrel
