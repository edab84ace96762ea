// SPDX-License-Identifier: GPL-3.0-or-later
// Scene files of all makers: what reads them, by their first bytes, and what writes them, by the
// ending of their names.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "formats/scene_io.h"

namespace vistrel {

// Reads a scene of any of the formats into the sink. Throws std::runtime_error with what is wrong,
// without the file's name, and std::bad_alloc. Any thread.
void ReadSceneFile(const std::filesystem::path& path, SceneSink& sink,
                   SpzFrame spzFrame = SpzFrame::AsPly, int threads = 0);

// What writes files of this name: one that ends in .ply, .compressed.ply, .splat, .spz, .sog or
// .glb, in small or large letters. Null for any other. Any thread.
[[nodiscard]] SceneWriter SceneWriterFor(const std::filesystem::path& path);

}  // namespace vistrel
