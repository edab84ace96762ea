// SPDX-License-Identifier: GPL-3.0-or-later
// The scene that is to be drawn.
#pragma once

#include <filesystem>

#include "render/scene_ply.h"

namespace vistrel {

// Reads a scene. What is none is told by what it is: a photograph, a format that is not read.
// Throws std::runtime_error with the text for the user, and std::bad_alloc. Any thread.
[[nodiscard]] SceneFile ReadScene(const std::filesystem::path& path);

}  // namespace vistrel
