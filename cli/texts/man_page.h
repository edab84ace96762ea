// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "cli/texts/command_text.h"

namespace vistrel {

struct ManPageFacts {
    std::string version;
    std::string date;                   // yyyy-mm-dd
    std::vector<std::string> commands;  // all that have a page
};

// The page of section 1, for man.
[[nodiscard]] std::string ManPage(const CommandText& command, const ManPageFacts& facts);

}  // namespace vistrel
