// SPDX-License-Identifier: GPL-3.0-or-later
// Options that cannot be followed.
#pragma once

#include <string>

namespace vistrel {

// Throws CLI::ValidationError: `option`, followed by `reason`.
[[noreturn]] void Refuse(const std::string& option, const std::string& reason);

// Refuses a value outside of `least` to `most`, both whole numbers, and one that is not a number.
void CheckNumber(const char* option, double value, double least, double most);

}  // namespace vistrel
