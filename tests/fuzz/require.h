// SPDX-License-Identifier: GPL-3.0-or-later
// How a fuzz target tells that something does not hold.
#pragma once

#include <cstdlib>

namespace vistrel::fuzz {

inline void Require(bool holds) {
    if (!holds) std::abort();
}

}  // namespace vistrel::fuzz
