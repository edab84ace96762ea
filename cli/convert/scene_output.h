// SPDX-License-Identifier: GPL-3.0-or-later
// Scenes into files of all formats.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>

#include "base/new_file.h"
#include "formats/scene_io.h"

namespace vistrel {

// Whether the conversion of a photograph leaves the writing of this file to SaveScene: its ending
// is that of a format, and not .ply.
[[nodiscard]] bool IsForeignName(const std::filesystem::path& output);

// Writes the share `keepRatio` of the scene, the most important, in the format that the name's
// ending says, a PLY file where it says none. Gaussians that cannot be written are left out. The
// file appears whole. Logs a line, and one for what is left out.
//
// Throws std::bad_alloc and std::runtime_error, with the text for the user; a former file stays
// then. Returns how many Gaussians the file has. Any thread.
std::size_t SaveScene(RawScene scene, const std::filesystem::path& output, float keepRatio,
                      const SceneWriteOptions& options, Durability durability);

}  // namespace vistrel
