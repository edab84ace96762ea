// SPDX-License-Identifier: GPL-3.0-or-later
#include "benchmarks/responsiveness/delays.h"

#include <QEvent>
#include <chrono>
#include <cstdio>
#include <memory>
#include <utility>

namespace vistrel {
namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kInterval(10);

struct Posted : QEvent {
    Posted() : QEvent(QEvent::User) {}
    const Clock::time_point time = Clock::now();
};

}  // namespace

Delays::Delays() : mailbox_(Mailbox::Make(this)), thread_([this] { Post(); }) {}

Delays::~Delays() {
    ending_ = true;
    thread_.join();
    mailbox_->Close();
}

void Delays::Begin(std::string phase) {
    phase_ = std::move(phase);
    milliseconds_.clear();
}

void Delays::End() {
    std::printf("%s", phase_.c_str());
    for (const double delay : milliseconds_) std::printf(" %.3f", delay);
    std::printf("\n");
    std::fflush(stdout);
    phase_.clear();
}

void Delays::customEvent(QEvent* event) {
    const auto* const posted = dynamic_cast<Posted*>(event);
    if (posted == nullptr || phase_.empty()) return;
    const std::chrono::duration<double, std::milli> delay = Clock::now() - posted->time;
    milliseconds_.push_back(delay.count());
}

void Delays::Post() {
    for (auto next = Clock::now(); !ending_; next += kInterval) {
        std::this_thread::sleep_until(next);
        mailbox_->Post(std::make_unique<Posted>());
    }
}

}  // namespace vistrel
