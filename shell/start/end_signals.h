// SPDX-License-Identifier: GPL-3.0-or-later
// Signals that ask the program to end, as events.
#pragma once

#include <functional>
#include <memory>

class QSocketNotifier;

namespace vistrel {

// While it lives, the first SIGTERM, SIGINT or SIGHUP calls `onSignal` from the event loop; a
// second one of the same kind ends the process at once. Signals that were ignored stay so. One at a
// time; thread of the event loop.
class EndSignals {
  public:
    explicit EndSignals(std::function<void()> onSignal);
    ~EndSignals();
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;

  private:
    std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace vistrel
