// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/start/end_signals.h"

#include <fcntl.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <array>
#include <cerrno>
#include <csignal>
#include <utility>

namespace vistrel {
namespace {

constexpr std::array<int, 3> kSignals = {SIGTERM, SIGINT, SIGHUP};

// A handler may do next to nothing but write to a pipe.
std::array<int, 2> pipeEnds = {-1, -1};

void OnSignal(int) {
    const int keptErrno = errno;
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(pipeEnds[1], &byte, 1);
    errno = keptErrno;
}

void Handle(int signal, void (*handler)(int), int flags) {
    struct sigaction old = {};
    sigaction(signal, nullptr, &old);
    if (old.sa_handler == SIG_IGN) return;
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

}  // namespace

EndSignals::EndSignals(std::function<void()> onSignal) {
    if (pipe2(pipeEnds.data(), O_CLOEXEC | O_NONBLOCK) != 0) return;
    notifier_ = std::make_unique<QSocketNotifier>(pipeEnds[0], QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated,
                     [onSignal = std::move(onSignal)] {
                         char byte = 0;
                         while (read(pipeEnds[0], &byte, 1) > 0) {
                         }
                         onSignal();
                     });
    for (const int signal : kSignals)
        Handle(signal, OnSignal, static_cast<int>(SA_RESTART | SA_RESETHAND));
}

EndSignals::~EndSignals() {
    for (const int signal : kSignals) Handle(signal, SIG_DFL, 0);
    if (!notifier_) return;
    notifier_.reset();
    for (int& end : pipeEnds) close(std::exchange(end, -1));
}

}  // namespace vistrel
