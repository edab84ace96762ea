// SPDX-License-Identifier: GPL-3.0-or-later
// From files to scenes that can be drawn.
#pragma once

#include <cstddef>
#include <optional>

#include "formats/scene_sink.h"
#include "render/gaussian_scene.h"

namespace vistrel {

struct SceneFile {
    GaussianScene scene;
    // Of the photograph that the scene was made from, where the file tells it.
    std::optional<PhotographCamera> camera;
};

// Packs a scene as it is read.
class PackingSink : public SceneSink {
  public:
    void Begin(const SceneFacts& facts) override;
    void Take(std::size_t first, std::size_t count, const RawRows& rows) override;

    SceneFile file;
};

}  // namespace vistrel
