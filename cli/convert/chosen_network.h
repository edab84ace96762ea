// SPDX-License-Identifier: GPL-3.0-or-later
// The network of a conversion.
#pragma once

#include "cli/convert/options.h"

namespace vistrel {

// Where the options name no network, they get the one of the window. False: none is chosen there,
// which was said. Throws std::runtime_error where its file is missing. Any thread.
[[nodiscard]] bool FindNetwork(ConvertOptions& options);

}  // namespace vistrel
