// SPDX-License-Identifier: GPL-3.0-or-later
// What must hold of a reader of scenes, whatever the file is.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "formats/scene_io.h"

namespace vistrel::fuzz {

struct SceneTarget {
    SceneReader read = nullptr;
    std::string ending;  // of the file's name, with the dot
    // What the file's size explains: at most so many Gaussians for each of its bytes. Below 1 for
    // formats without compression.
    double gaussiansPerByte = 1.0;
    SpzFrame spzFrame = SpzFrame::AsPly;
};

// The reader passes the file by without touching the sink, says in a sentence what is wrong with
// it, or hands over each Gaussian of a sound scene once. Nothing where there is no scene.
std::optional<RawScene> ReadAnyScene(const SceneTarget& target, std::string_view bytes);

// Writes the scene's usable Gaussians in every format and reads them again: as many, with harmonics
// of the degree that the format can hold. Formats may refuse a scene in a sentence.
void RequireWritable(RawScene scene);

// Both of it, the whole of a fuzz target.
void RunSceneTarget(const SceneTarget& target, std::string_view bytes);

// A sound scene for seeds, its values all different, with a camera.
[[nodiscard]] RawScene SeedScene(std::size_t count, int degree);

// The file that the writer makes of it.
[[nodiscard]] std::string Written(SceneWriter write, const RawScene& scene,
                                  const SceneWriteOptions& options = {});

}  // namespace vistrel::fuzz
