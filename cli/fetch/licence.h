// SPDX-License-Identifier: GPL-3.0-or-later
// The licence of the network's weights, which is for the user to agree to.
#pragma once

#include <optional>

namespace vistrel {

// Shows what the licence comes to and where it stands, and asks whoever sits at the terminal.
// Nothing: they agree; otherwise the exit status: 1 where they do not, 2 where nobody can be asked.
[[nodiscard]] std::optional<int> RefusalOfLicence();

}  // namespace vistrel
