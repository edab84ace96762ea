// SPDX-License-Identifier: GPL-3.0-or-later
// When a program that is being started reached what a user waits for.
#pragma once

#include <QObject>

namespace vistrel {

// An application-wide event filter that prints "shown SECONDS" when the first window is on the
// screen. The seconds count from VISTREL_STARTED in the environment, nanoseconds of the monotonic
// clock.
class Milestones : public QObject {
  public:
    // Prints "ready SECONDS" and ends the program.
    void PageIsReady();

    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    bool shown_ = false;
};

}  // namespace vistrel
