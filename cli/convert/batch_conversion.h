// SPDX-License-Identifier: GPL-3.0-or-later
// Many photographs and scenes on the command line.
#pragma once

#include "cli/convert/options.h"

namespace vistrel {

// Converts all that `options.many` names, one after the other, and tells about it on standard
// error. The network is looked for where there are photographs. The first SIGINT, SIGTERM or SIGHUP
// ends it after the current file, the second ends the process at once. Returns the exit status: 0
// when every scene is there, 1 when one is not or what was to follow has failed, 2 when nothing was
// done since a file would have been lost, or since no network is chosen. Main thread, before any
// other thread has started. Throws std::exception when it cannot begin.
[[nodiscard]] int ConvertMany(ConvertOptions options);

}  // namespace vistrel
