// SPDX-License-Identifier: GPL-3.0-or-later
// The browser's helper processes.
#pragma once

#include <sys/types.h>

#include <vector>

namespace vistrel::test {

// Those in which the pages of this process run.
[[nodiscard]] std::vector<pid_t> PageProcesses();

}  // namespace vistrel::test
