// SPDX-License-Identifier: GPL-3.0-or-later
// From a scene to the page that shows it.
#pragma once

#include "cli/long_step.h"
#include "cli/share/options.h"

namespace vistrel {

// Writes the page, whole or not at all, and tells on standard error what it holds. Throws
// std::exception with the text for the user.
void ShareScene(const ShareOptions& options, LongStep& step);

}  // namespace vistrel
