// SPDX-License-Identifier: GPL-3.0-or-later
// What somebody who looks into a problem needs to know about this machine.
#pragma once

#include <string>

namespace vistrel {

// Lines about the versions, the system, the processor, the memory, the graphics cards, the
// libraries, the settings and the last failure. There are no names of files, of the user or of the
// machine in it. What cannot be found out is told as such; nothing has to be installed. Main
// thread.
[[nodiscard]] std::string ProblemReport();

}  // namespace vistrel
