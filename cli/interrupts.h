// SPDX-License-Identifier: GPL-3.0-or-later
// Ctrl-C and its relatives, taken at a moment of the program's choosing.
#pragma once

namespace vistrel {

// Holds SIGINT, SIGTERM and SIGHUP back from the calling thread and from every thread that it
// starts later; they wait until somebody looks. Signals that the program was started with as
// ignored stay ignored. Make one on the main thread before any other thread starts.
class Interrupts {
  public:
    Interrupts();
    ~Interrupts();
    Interrupts(const Interrupts&) = delete;
    Interrupts& operator=(const Interrupts&) = delete;

    static constexpr int kForever = -1;
    static constexpr int kTimeout = -1;

    // Waits for one of the signals or for Wake(), for so long at most. Returns the signal, 0 when
    // woken, or kTimeout. One thread.
    [[nodiscard]] int Wait(int milliseconds = kForever);

    // Ends the present or the next Wait(). Any thread.
    void Wake();

    // Ends the process the way `signal` does when nobody handles it, so that a shell sees it.
    // What was printed so far is flushed first.
    [[noreturn]] static void DieOf(int signal);

  private:
    int signalFd_;  // constant after construction
    int wakeFd_;    // constant after construction
};

}  // namespace vistrel
