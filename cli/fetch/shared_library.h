// SPDX-License-Identifier: GPL-3.0-or-later
// Shared libraries as files, which nothing of is run.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace vistrel {

// The names of the libraries that the one in `file` needs, in its order. Throws std::runtime_error
// where it is no shared library for this processor, or not all of one. Any thread.
[[nodiscard]] std::vector<std::string> NeededLibraries(const std::filesystem::path& file);

}  // namespace vistrel
