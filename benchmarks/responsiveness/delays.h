// SPDX-License-Identifier: GPL-3.0-or-later
// How long events wait until the window's thread takes them.
#pragma once

#include <QObject>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "ui/mailbox.h"

namespace vistrel {

// A thread of its own posts an event to the thread that made this every 10 milliseconds.
class Delays : public QObject {
  public:
    Delays();
    ~Delays() override;
    Delays(const Delays&) = delete;
    Delays& operator=(const Delays&) = delete;

    // Thread that made it, as everything below. What is measured from here on belongs to `phase`,
    // one word.
    void Begin(std::string phase);
    // Prints "PHASE MILLISECONDS..." and measures nothing until the next beginning.
    void End();

  protected:
    void customEvent(QEvent* event) override;

  private:
    void Post();

    std::string phase_;  // empty: between phases
    std::vector<double> milliseconds_;
    std::shared_ptr<Mailbox> mailbox_;
    std::atomic<bool> ending_ = false;
    std::thread thread_;
};

}  // namespace vistrel
