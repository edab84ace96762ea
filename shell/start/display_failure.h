// SPDX-License-Identifier: GPL-3.0-or-later
// A start where there is no display.
#pragma once

namespace vistrel {

// While it lives, an application object that finds no display ends the process with status 1 and
// one sentence on standard error, in place of a core dump; whatever else Qt has to say waits until
// the end of it. One at a time, around the application object's constructor.
class DisplayFailureTold {
  public:
    DisplayFailureTold();
    ~DisplayFailureTold();
    DisplayFailureTold(const DisplayFailureTold&) = delete;
    DisplayFailureTold& operator=(const DisplayFailureTold&) = delete;
};

}  // namespace vistrel
