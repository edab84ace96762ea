// SPDX-License-Identifier: GPL-3.0-or-later
// Work in a process of its own: as another user, or at the same time.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

namespace vistrel::test {

// Starts `work` in a copy of this process, which ends with its result. `asNobody`: without the
// rights that root has, which no permission stops.
inline pid_t Fork(const std::function<bool()>& work, bool asNobody) {
    const pid_t child = fork();
    if (child == 0) {
        constexpr uid_t kNobody = 65534;
        if (asNobody && geteuid() == 0 && setuid(kNobody) != 0) _exit(2);
        _exit(work() ? 0 : 1);
    }
    return child;
}

// The result of Fork's work.
inline bool Join(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) < 2);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

inline bool RunAsNobody(const std::function<bool()>& work) {
    return Join(Fork(work, true));
}

}  // namespace vistrel::test
