// SPDX-License-Identifier: GPL-3.0-or-later
// Whether the browser may start: where its helper processes cannot be locked in, it ends the whole
// program instead.
#pragma once

namespace vistrel::loader {

// True as well where the user has turned the locking in off.
[[nodiscard]] bool SandboxAllowsStart();

}  // namespace vistrel::loader
