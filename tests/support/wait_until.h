// SPDX-License-Identifier: GPL-3.0-or-later
// Waiting in tests for what the event loop brings.
#pragma once

#include <chrono>
#include <functional>

namespace vistrel::test {

// Runs the event loop until `condition` holds. False when it does not within `timeout`.
[[nodiscard]] bool WaitUntil(const std::function<bool()>& condition,
                             std::chrono::milliseconds timeout = std::chrono::seconds(60));

// Runs the event loop until everything is delivered that is posted now.
void DeliverPosted();

// An application that was told to exit ends every event loop as soon as it starts, up to here.
void TakeBackExit();

}  // namespace vistrel::test
