// SPDX-License-Identifier: GPL-3.0-or-later
// The scene that is to be drawn.
#pragma once

#include <filesystem>

#include "formats/scene_io.h"
#include "render/scene_packing.h"

namespace vistrel {

// Of any format, which the file's bytes or its name tell. Throws std::runtime_error with the text
// for the user, and std::bad_alloc. Any thread.
[[nodiscard]] SceneFile ReadScene(const std::filesystem::path& path, SpzFrame spzFrame);

}  // namespace vistrel
