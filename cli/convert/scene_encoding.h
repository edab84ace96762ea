// SPDX-License-Identifier: GPL-3.0-or-later
// From what the network tells to files of scenes.
#pragma once

#include <cstdint>
#include <filesystem>

#include "engine/gaussian_writer.h"
#include "formats/scene_io.h"

namespace vistrel {

// The scene of a photograph of this size and focal length, in pixels, with its camera; values are
// those of the engine's own PLY files. Throws std::bad_alloc. Any thread.
[[nodiscard]] RawScene EncodedScene(const GaussianSet& gaussians, float focalPx,
                                    std::uint32_t width, std::uint32_t height);

// What writes scenes of photographs under names that end as this one does; nothing where the engine
// does it by itself.
[[nodiscard]] GaussianWriter WriterFor(const std::filesystem::path& output,
                                       const SceneWriteOptions& options);

}  // namespace vistrel
