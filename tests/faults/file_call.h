// SPDX-License-Identifier: GPL-3.0-or-later
// What a system call is about to do to which file.
#pragma once

#include <sys/types.h>
#include <sys/user.h>

#include <optional>
#include <string>
#include <vector>

namespace vistrel::test {

enum class Access { kWrite, kRead };

struct FileCall {
    std::string name;                // the system call's
    Access access = Access::kRead;   // kWrite: takes room on the disk, or sees to it being there
    std::vector<std::string> paths;  // absolute; of a file that is renamed both
    int error = 0;                   // what the call fails with on a bad disk
    bool takesRoom = false;          // fails on a full disk, as opening a file that exists does not
    bool isDone = false;             // does its work even when it fails, as closing does
    bool movesBytes = false;         // may move fewer bytes than it was asked to
    bool isUnnamed = false;          // makes a file without a name
};

// The numbers of all calls that the next function knows.
[[nodiscard]] std::vector<int> FileCallNumbers();

// The call that `thread`, stopped before it, is about to make; nothing where no file is touched.
[[nodiscard]] std::optional<FileCall> ReadFileCall(pid_t thread, const user_regs_struct& registers);

}  // namespace vistrel::test
