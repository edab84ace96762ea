// SPDX-License-Identifier: GPL-3.0-or-later
// Whether a file can be written, found out before the work for it.
#pragma once

#include <filesystem>

namespace vistrel {

// Opens the file as the writing will, and leaves everything as it is; a pipe, which would lose its
// reader by this, is left alone. Throws std::runtime_error with the text for the user. Any thread.
void CheckOutput(const std::filesystem::path& output);

}  // namespace vistrel
