// SPDX-License-Identifier: GPL-3.0-or-later
// Scenes of one format into another, on the command line.
#pragma once

#include <cstddef>
#include <filesystem>

#include "formats/scene_io.h"

namespace vistrel {

struct SceneConversion {
    std::filesystem::path input;
    std::filesystem::path output;
    float keepRatio = 1.0F;
    SceneWriteOptions writing = {};  // its frame is also that of SPZ files that are read
};

// Whether a file is a scene and not a photograph: by its first bytes, and where these do not tell,
// by its name. A pipe is none. Any thread.
[[nodiscard]] bool IsSceneFile(const std::filesystem::path& file);

// Reads the input. Throws std::exception, without the input's name. Any thread.
[[nodiscard]] RawScene ReadScene(const SceneConversion& conversion);

// Makes the output's folder and writes the output. Returns how many Gaussians it has. Throws
// std::exception with what went wrong. Any thread.
std::size_t WriteScene(RawScene scene, const SceneConversion& conversion);

// Does both, and tells about it on standard error; SIGINT, SIGTERM and SIGHUP end the process at
// once. Main thread, before any other thread has started. Throws std::exception with what went
// wrong.
void ConvertScene(const SceneConversion& conversion);

}  // namespace vistrel
