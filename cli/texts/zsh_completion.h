// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "cli/texts/command_text.h"

namespace vistrel {

// The function that zsh's completion system loads for the command.
[[nodiscard]] std::string ZshCompletion(const CommandText& command);

}  // namespace vistrel
