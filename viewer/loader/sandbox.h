// SPDX-License-Identifier: GPL-3.0-or-later
// Whether the browser may start: where its helper processes cannot be locked in, it ends the whole
// program instead.
#pragma once

namespace vistrel::loader {

// Whether the user's environment turns the locking in off: "0" and an empty value do not, though
// the browser itself takes any value for a yes.
[[nodiscard]] bool VariableTurnsSandboxOff();

// True as well where the user has turned the locking in off.
[[nodiscard]] bool SandboxAllowsStart();

}  // namespace vistrel::loader
