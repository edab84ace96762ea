// SPDX-License-Identifier: GPL-3.0-or-later
// Where a fuzz target makes files for every input: in memory, where the system has such a folder.
#pragma once

#include <filesystem>

#include "tests/support/temporary_folder.h"

namespace vistrel::fuzz {

inline test::TemporaryFolder MakeScratchFolder() {
    const std::filesystem::path memory = "/dev/shm";
    return test::TemporaryFolder(
        std::filesystem::is_directory(memory) ? memory : std::filesystem::temp_directory_path());
}

}  // namespace vistrel::fuzz
