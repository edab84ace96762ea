// SPDX-License-Identifier: GPL-3.0-or-later
// Scenes into movies.
#pragma once

#include <filesystem>

#include "cli/long_step.h"
#include "cli/render/options.h"
#include "render/scene_packing.h"
#include "render/splat_renderer.h"

namespace vistrel {

// Draws the movie that the options ask for and writes it, whole or not at all. Tells how far it is.
// Throws std::runtime_error with the text for the user, and std::bad_alloc.
void WriteMovie(SplatRenderer& renderer, const SceneFile& file, const RenderOptions& options,
                const std::filesystem::path& output, LongStep& step);

}  // namespace vistrel
