// SPDX-License-Identifier: GPL-3.0-or-later
// What the scenes of many photographs are called.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace vistrel {

// The name of a file without its ending; scenes may have one of two parts, ".compressed.ply".
[[nodiscard]] std::filesystem::path NameWithoutEnding(const std::filesystem::path& file);

// One name for each of the photographs of a folder, given by their names without it, in their
// order: that of the photograph with `ending` in place of its own. Where two would meet, both have
// `ending` behind their whole names: of a.jpg and a.png come a.jpg.ply and a.png.ply. So each
// photograph has its own scene, and which one does not depend on what was converted before. Any
// thread.
[[nodiscard]] std::vector<std::string> SceneNames(const std::vector<std::string>& photographs,
                                                  const std::string& ending);

}  // namespace vistrel
