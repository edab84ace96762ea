// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/scene_kind.h"

#include <algorithm>

namespace vistrel {

std::string SmallEnding(const std::filesystem::path& file) {
    std::string ending = file.extension().native();
    std::ranges::transform(ending, ending.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return ending;
}

bool IsSceneName(const std::filesystem::path& file) {
    return std::ranges::find(kSceneEndings, SmallEnding(file)) != kSceneEndings.end();
}

}  // namespace vistrel
