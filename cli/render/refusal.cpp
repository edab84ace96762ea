// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/render/refusal.h"

#include <CLI/CLI.hpp>

namespace vistrel {

void Refuse(const std::string& option, const std::string& reason) {
    throw CLI::ValidationError(option, reason);
}

}  // namespace vistrel
