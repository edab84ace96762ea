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

// Makes a link to the scene in `folder` and returns its absolute path, which ends like the scene's,
// in small letters. Addresses cannot carry every name. Throws std::filesystem::filesystem_error.
[[nodiscard]] std::filesystem::path LinkScene(const std::filesystem::path& scene,
                                              const std::filesystem::path& folder);

}  // namespace vistrel
