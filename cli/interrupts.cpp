// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/interrupts.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <system_error>

namespace vistrel {
namespace {

constexpr std::array kSignals = {SIGINT, SIGTERM, SIGHUP};

// A signal that the program was started with as ignored (nohup does so) is not ours to take: once
// blocked, the kernel would deliver it all the same.
sigset_t HeldSignals() {
    sigset_t held;
    sigemptyset(&held);
    for (const int signal : kSignals) {
        struct sigaction action{};
        sigaction(signal, nullptr, &action);
        if (action.sa_handler != SIG_IGN) sigaddset(&held, signal);
    }
    return held;
}

int Checked(int result, const char* what) {
    if (result < 0) throw std::system_error(errno, std::generic_category(), what);
    return result;
}

}  // namespace

Interrupts::Interrupts()
    : signalFd_([] {
          const sigset_t held = HeldSignals();
          pthread_sigmask(SIG_BLOCK, &held, nullptr);
          return Checked(signalfd(-1, &held, SFD_CLOEXEC), "signalfd");
      }()),
      wakeFd_(Checked(eventfd(0, EFD_CLOEXEC), "eventfd")) {}

Interrupts::~Interrupts() {
    close(wakeFd_);
    close(signalFd_);
}

int Interrupts::Wait(int milliseconds) {
    std::array<pollfd, 2> sources = {{{wakeFd_, POLLIN, 0}, {signalFd_, POLLIN, 0}}};
    int ready = 0;
    while ((ready = poll(sources.data(), sources.size(), milliseconds)) < 0) {
        if (errno != EINTR) throw std::system_error(errno, std::generic_category(), "poll");
    }
    if (ready == 0) return kTimeout;
    if ((sources[0].revents & POLLIN) != 0) {
        std::uint64_t count = 0;
        Checked(static_cast<int>(read(wakeFd_, &count, sizeof count)), "read");
        return 0;
    }
    signalfd_siginfo info{};
    Checked(static_cast<int>(read(signalFd_, &info, sizeof info)), "read");
    return static_cast<int>(info.ssi_signo);
}

void Interrupts::Wake() {
    const std::uint64_t one = 1;
    Checked(static_cast<int>(write(wakeFd_, &one, sizeof one)), "write");
}

void Interrupts::DieOf(int signal) {
    std::fflush(nullptr);
    std::signal(signal, SIG_DFL);
    sigset_t deadly;
    sigemptyset(&deadly);
    sigaddset(&deadly, signal);
    pthread_sigmask(SIG_UNBLOCK, &deadly, nullptr);
    std::raise(signal);
    std::_Exit(128 + signal);
}

}  // namespace vistrel
