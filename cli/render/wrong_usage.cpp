// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/render/wrong_usage.h"

#include <CLI/CLI.hpp>
#include <cmath>

namespace vistrel {

void Refuse(const std::string& option, const std::string& reason) {
    throw CLI::ValidationError(option, reason);
}

void CheckNumber(const char* option, double value, double least, double most) {
    if (value >= least && value <= most) return;
    Refuse(option, "is a number from " + std::to_string(std::lround(least)) + " to " +
                       std::to_string(std::lround(most)));
}

}  // namespace vistrel
