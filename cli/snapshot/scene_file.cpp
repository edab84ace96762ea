// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/snapshot/scene_file.h"

#include <cstddef>
#include <fstream>
#include <stdexcept>
#include <string>
#include <system_error>

#include "base/scene_kind.h"

namespace vistrel {
std::string SceneEndings() {
    std::string all(kSceneEndings.front());
    for (std::size_t i = 1; i < kSceneEndings.size(); ++i) {
        all += i + 1 == kSceneEndings.size() ? " or " : ", ";
        all += kSceneEndings[i];
    }
    return all;
}

void CheckScene(const std::filesystem::path& scene) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(scene, error);
    if (!std::filesystem::exists(status)) {
        throw std::runtime_error("there is no file " + scene.native());
    }
    if (!std::filesystem::is_regular_file(status)) {
        throw std::runtime_error(scene.native() + " is no file");
    }
    if (!std::ifstream(scene)) throw std::runtime_error(scene.native() + " cannot be read");
    if (!IsSceneName(scene)) {
        throw std::runtime_error(scene.native() + " is no scene: its name does not end in " +
                                 SceneEndings());
    }
}

std::filesystem::path AbsoluteScene(const std::filesystem::path& scene) {
    return std::filesystem::canonical(std::filesystem::absolute(scene).parent_path()) /
           scene.filename();
}

}  // namespace vistrel
