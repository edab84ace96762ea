// SPDX-License-Identifier: GPL-3.0-or-later
// Which files are scenes: their names tell.
#pragma once

#include <array>
#include <filesystem>
#include <string>
#include <string_view>

namespace vistrel {

// Endings of the names, in small letters.
inline constexpr std::array<std::string_view, 4> kSceneEndings = {".ply", ".splat", ".spz",
                                                                  ".ksplat"};

// The ending of the file's name with its dot, capitals of ASCII made small; may be empty. Any
// thread.
[[nodiscard]] std::string SmallEnding(const std::filesystem::path& file);

// Whether the name is that of a scene, in small or large letters. Any thread.
[[nodiscard]] bool IsSceneName(const std::filesystem::path& file);

}  // namespace vistrel
