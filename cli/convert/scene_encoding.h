// SPDX-License-Identifier: GPL-3.0-or-later
// From what the network tells to files of scenes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>

#include "engine/gaussian_writer.h"
#include "formats/scene_io.h"

namespace vistrel {

// The scene of a photograph of this size and focal length, in pixels, with its camera; values are
// those of the engine's own PLY files. Throws std::bad_alloc. Any thread.
[[nodiscard]] RawScene EncodedScene(const GaussianSet& gaussians, float focalPx,
                                    std::uint32_t width, std::uint32_t height);

// What writes scenes of photographs under names that end as this one does. `onWritten`, which may
// be empty, then receives how many Gaussians a file has. Nothing where the engine does it by itself
// and nobody counts.
[[nodiscard]] GaussianWriter WriterFor(const std::filesystem::path& output,
                                       const SceneWriteOptions& options,
                                       std::function<void(std::size_t count)> onWritten = {});

}  // namespace vistrel
