// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures that are not for two eyes: depth maps and quilts. Both throw std::runtime_error with the
// text for the user, and std::bad_alloc.
#pragma once

#include <cstddef>
#include <vector>

#include "cli/render/options.h"
#include "render/scene_packing.h"
#include "render/splat_renderer.h"

namespace vistrel {

// The file that --depth-map asks for.
[[nodiscard]] std::vector<std::byte> DepthMapFile(SplatRenderer& renderer, const SceneFile& file,
                                                  const RenderOptions& options);

// The file that --quilt asks for.
[[nodiscard]] std::vector<std::byte> QuiltFile(SplatRenderer& renderer, const SceneFile& file,
                                               const RenderOptions& options);

}  // namespace vistrel
