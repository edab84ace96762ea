// SPDX-License-Identifier: GPL-3.0-or-later
// JSON texts to begin a search at: the parser in front of the code under test lets hardly any other
// bytes through.
#pragma once

#include <string>

namespace vistrel::fuzz {

// An object with some members of a settings file and some of others, with any values. The same for
// the same seed.
[[nodiscard]] std::string AnySettingsText(unsigned int seed);

}  // namespace vistrel::fuzz
