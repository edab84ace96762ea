// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/output_check.h"

#include <stdexcept>
#include <system_error>

#include "base/new_file.h"

namespace vistrel {

void CheckOutput(const std::filesystem::path& output) {
    std::error_code ignored;
    if (std::filesystem::is_fifo(output, ignored)) return;
    try {
        const NewFile attempt(output);
    } catch (const std::system_error& failure) {
        throw std::runtime_error("Cannot open output file: " + failure.code().message());
    }
}

}  // namespace vistrel
