// SPDX-License-Identifier: GPL-3.0-or-later
// The scene file of a command line.
#pragma once

#include <filesystem>
#include <string>

namespace vistrel {

// The endings of scenes for people: ".a, .b or .c".
[[nodiscard]] std::string SceneEndings();

// Throws std::runtime_error when there is no such file, it cannot be read, or its name does not end
// like a scene's.
void CheckScene(const std::filesystem::path& scene);

// The scene's path from everywhere, under the name that it was given by. Throws
// std::filesystem::filesystem_error.
[[nodiscard]] std::filesystem::path AbsoluteScene(const std::filesystem::path& scene);

}  // namespace vistrel
