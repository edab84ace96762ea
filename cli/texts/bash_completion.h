// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "cli/texts/command_text.h"

namespace vistrel {

// What bash sources when the command's arguments are to be completed; it needs nothing but bash.
[[nodiscard]] std::string BashCompletion(const CommandText& command);

}  // namespace vistrel
