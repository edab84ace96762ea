// SPDX-License-Identifier: GPL-3.0-or-later
// The file that is to be written, before it is.
#pragma once

#include <filesystem>

namespace vistrel {

// Whether both names are those of one file, which is there. Throws
// std::filesystem::filesystem_error when the disk does not tell. Any thread, like all below.
[[nodiscard]] bool IsSameFile(const std::filesystem::path& first,
                              const std::filesystem::path& second);

// Checks a file that lies in a folder which is there already. Throws std::runtime_error with the
// text for the user.
void CheckOutputInFolder(const std::filesystem::path& output);

// Makes the folder where it is missing, and then checks the file. Throws as the other does, and
// std::filesystem::filesystem_error.
void MakeOutputFolder(const std::filesystem::path& output);

}  // namespace vistrel
