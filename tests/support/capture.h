// SPDX-License-Identifier: GPL-3.0-or-later
// What a piece of code says: its log lines, its exception.
#pragma once

#include <functional>
#include <string>

namespace vistrel::test {

// The log that `work` writes, line by line, without time stamps and levels. One capture at a time.
[[nodiscard]] std::string LogOf(const std::function<void()>& work);

// The text of the standard exception that `work` ends with; empty when it ends without one.
[[nodiscard]] std::string FailureOf(const std::function<void()>& work);

}  // namespace vistrel::test
