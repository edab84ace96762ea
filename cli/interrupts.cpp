#include "cli/interrupts.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <system_error>

namespace vistrel {
namespace {

constexpr std::array kSignals = {SIGINT, SIGTERM, SIGHUP};
constexpr int kHaltSignal = SIGUSR1;

sigset_t SetOf(int signal) {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal);
    return set;
}

std::atomic<bool> gHalted = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");

void HaltHere(int /*signal*/) {
    gHalted = true;
    for (;;) pause();
}

// Returns when `thread` has left the system call that it was in and will run no further.
void Halt(std::thread& thread) {
    struct sigaction action {};
    action.sa_handler = HaltHere;
    sigaction(kHaltSignal, &action, nullptr);
    // Once would do, but a sanitizer may put the handler off until the end of a system call that is
    // about to begin; the next signal ends that call.
    while (!gHalted) {
        pthread_kill(thread.native_handle(), kHaltSignal);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

// A signal that the program was started with as ignored (nohup does so) is not ours to take: once
// blocked, the kernel would deliver it all the same.
sigset_t HeldSignals() {
    sigset_t held;
    sigemptyset(&held);
    for (const int signal : kSignals) {
        struct sigaction action {};
        sigaction(signal, nullptr, &action);
        if (action.sa_handler != SIG_IGN) sigaddset(&held, signal);
    }
    return held;
}

[[noreturn]] void Die(int signal) {
    std::signal(signal, SIG_DFL);
    const sigset_t deadly = SetOf(signal);
    pthread_sigmask(SIG_UNBLOCK, &deadly, nullptr);
    std::raise(signal);
    std::_Exit(128 + signal);
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
          const sigset_t halt = SetOf(kHaltSignal);
          pthread_sigmask(SIG_UNBLOCK, &halt, nullptr);
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
    Die(signal);
}

void Interrupts::DieWithout(const std::filesystem::path& file, std::thread& writer, int signal) {
    std::fflush(nullptr);  // the halted thread may hold the lock of a stream
    Halt(writer);
    // Neither of these allocates, for which the halted thread may hold a lock, too.
    std::error_code ignored;
    if (std::filesystem::is_regular_file(file, ignored)) std::filesystem::remove(file, ignored);
    Die(signal);
}

}  // namespace vistrel
