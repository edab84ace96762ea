// SPDX-License-Identifier: GPL-3.0-or-later
// The scene that is to be drawn.
#pragma once

#include <filesystem>

#include "render/scene_ply.h"

namespace vistrel {

// Tells what is no scene by what it is: nothing, a photograph, a format that is not read. Of a
// scene only the first bytes are looked at. Throws std::runtime_error with the text for the user.
// Any thread, like the next.
void CheckScene(const std::filesystem::path& path);

// Throws std::runtime_error with the text for the user, and std::bad_alloc.
[[nodiscard]] SceneFile ReadScene(const std::filesystem::path& path);

}  // namespace vistrel
