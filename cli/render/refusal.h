// SPDX-License-Identifier: GPL-3.0-or-later
// Wrong usage.
#pragma once

#include <string>

namespace vistrel {

// Throws CLI::ValidationError: the option, or what else it is about, and what is wrong with it.
[[noreturn]] void Refuse(const std::string& option, const std::string& reason);

}  // namespace vistrel
