// SPDX-License-Identifier: GPL-3.0-or-later
// A photograph that comes through a pipe.
#pragma once

#include <string>

namespace vistrel {

// What a pipe gives, in memory, where it can be opened as a file and read any number of times.
class PipedPhotograph {
  public:
    // Reads the pipe to its end, which waits for somebody who writes to it. Throws
    // std::system_error with the system's reason, also for more than 2 GiB.
    explicit PipedPhotograph(const std::string& pipe);
    ~PipedPhotograph();
    PipedPhotograph(const PipedPhotograph&) = delete;
    PipedPhotograph& operator=(const PipedPhotograph&) = delete;

    // The file, as long as this object lives.
    [[nodiscard]] std::string Path() const;

  private:
    int memory_;  // constant after construction
};

}  // namespace vistrel
