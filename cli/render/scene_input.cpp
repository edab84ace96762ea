// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/render/scene_input.h"

#include <stdexcept>
#include <utility>

#include "formats/scene_formats.h"

namespace vistrel {

SceneFile ReadScene(const std::filesystem::path& path, SpzFrame spzFrame) {
    PackingSink sink;
    ReadSceneFile(path, sink, spzFrame);
    if (sink.file.scene.Count() == 0) throw std::runtime_error("the scene has no Gaussians");
    return std::move(sink.file);
}

}  // namespace vistrel
