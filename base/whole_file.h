// SPDX-License-Identifier: GPL-3.0-or-later
// Files that are read in one piece. Any thread; nothing throws.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace vistrel {

// All bytes of the file; nothing when it is no regular file or cannot be read
// to its end.
[[nodiscard]] std::optional<std::string> ReadWholeFile(const std::filesystem::path& path);

// Whether there is a file, a folder or anything else; nothing when that cannot be found out.
[[nodiscard]] std::optional<bool> Exists(const std::filesystem::path& path);

}  // namespace vistrel
