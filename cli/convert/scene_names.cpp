// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/convert/scene_names.h"

#include <cstddef>
#include <map>

#include "base/scene_kind.h"

namespace vistrel {

std::filesystem::path NameWithoutEnding(const std::filesystem::path& file) {
    const std::filesystem::path stem = file.stem();
    const bool isCompressed = SmallEnding(file) == ".ply" && SmallEnding(stem) == ".compressed";
    return isCompressed ? stem.stem() : stem;
}

std::vector<std::string> SceneNames(const std::vector<std::string>& photographs,
                                    const std::string& ending) {
    std::vector<std::string> names;
    names.reserve(photographs.size());
    for (const std::string& photograph : photographs) {
        names.push_back(std::filesystem::path(photograph).stem().native() + ending);
    }
    // A whole name may be the short one of a third photograph, such as a.jpg.png.
    for (bool haveMet = true; haveMet;) {
        haveMet = false;
        std::map<std::string, std::size_t> uses;
        for (const std::string& name : names) ++uses[name];
        for (std::size_t i = 0; i < names.size(); ++i) {
            const std::string whole = photographs[i] + ending;
            if (uses[names[i]] == 1 || names[i] == whole) continue;
            names[i] = whole;
            haveMet = true;
        }
    }
    return names;
}

}  // namespace vistrel
