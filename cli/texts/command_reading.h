// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "cli/texts/command_text.h"

namespace CLI {
class App;
}

namespace vistrel {

// What `app` understands, as its --help tells it.
[[nodiscard]] CommandText TextOf(const CLI::App& app);

}  // namespace vistrel
